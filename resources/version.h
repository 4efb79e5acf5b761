/* The version as texts of the version blocks; the build gives IMX_VERSION_DOTTED and
   IMX_VERSION_NUMBERS. */
#pragma once

#define IMX_TEXT_OF(tokens) #tokens
#define IMX_TEXT(macro) IMX_TEXT_OF(macro)
#define IMX_VERSION_TEXT IMX_TEXT(IMX_VERSION_DOTTED)
