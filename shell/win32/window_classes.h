/// The shell's three window classes.
#pragma once

#include "imagelib/windows_api.h"
#include "shell/win32/entry.h"

namespace imx {

inline constexpr char kImageWindowClass[] = "KZ_kidz_clazz";
inline constexpr char kProgressWindowClass[] = "KZ_prgz_clazz";

/// False when one could not be registered.
bool RegisterWindowClasses(HINSTANCE instance, const ShellProgram& program);

/// Passes over classes that are not registered.
void UnregisterWindowClasses(HINSTANCE instance, const char* mainWindowClass);

}  // namespace imx
