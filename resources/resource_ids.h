/* Numbers shared by the shell's resource scripts and its code: plain macros, because the resource
   compiler reads this file too. */
#ifndef IMX_RESOURCES_RESOURCE_IDS_H
#define IMX_RESOURCES_RESOURCE_IDS_H

#define IDI_PROGRAM 1 /* lowest icon id: the one that file managers show */
#define IDM_SHELL 101 /* menu with File > Exit */

/* Commands of the main window. */
#define ID_EXIT 40004
#define ID_OPEN_IMAGE 40005
#define ID_TOOL_GAMMA 40008
#define ID_TOOL_CLIP 40009
#define ID_TOOL_RESCALE 40010
#define ID_TOOL_RESAMPLE 40011
#define ID_SAVE_IMAGE 40012
#define ID_SAVE_UNSAVED 40014
#define ID_TOOL_COUNT_COLOURS 40015
#define ID_TOOL_MERGE 40016
#define ID_TOGGLE_CHECKERBOARD 40017

/* The progress window's button. */
#define IDC_STOP 8824

#endif
