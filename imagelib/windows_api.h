/// The one place that includes <windows.h>. Further system headers (<commdlg.h>, <shlobj.h>, ...)
/// are included after this one, where they are used.
#pragma once

#include <windows.h>

// A macro of winuser.h that would rename the load dispatch.
#undef LoadImage
