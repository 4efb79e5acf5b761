/* Numbers shared by the shell's resource scripts and its code: plain macros, because the resource
   compiler reads this file too. */
#ifndef IMX_RESOURCES_RESOURCE_IDS_H
#define IMX_RESOURCES_RESOURCE_IDS_H

#define IDI_PROGRAM 1 /* lowest icon id: the one that file managers show */
#define IDM_SHELL 101 /* menu with File > Exit */
#define IDM_VIEWER 120
#define IDA_VIEWER 121 /* its keys */

/* Dialogs. */
#define IDD_GAMMA 102
#define IDD_CLIP_SETTINGS 103
#define IDD_RESCALE 104
#define IDD_RESAMPLE 105
#define IDD_SELECT_FILE 106
#define IDD_OUTPUT_CHOICES 107
#define IDD_RAW_GUIDE 109
#define IDD_FRAME 110
#define IDD_MERGE_SOURCE 111
#define IDD_RESIZE 122

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

#define ID_ABOUT 40100
#define ID_OPEN_RAW 40101
#define ID_READ_AS_OTHERS 40102

/* The viewer's own. */
#define ID_OPEN_SEVERAL 40120
#define ID_SAVE_AS 40121
#define ID_CLOSE_IMAGE 40122
#define ID_BROWSE_FOLDER 40123
#define ID_UNDO 40140
#define ID_REDO 40141
#define ID_COPY 40142
#define ID_PASTE 40143
#define ID_SELECT 40144
#define ID_SELECT_ALL 40145
#define ID_CROP 40150
#define ID_FLIP_ACROSS 40151
#define ID_FLIP_DOWN 40152
#define ID_ROTATE_LEFT 40153
#define ID_ROTATE_RIGHT 40154
#define ID_ROTATE_HALF 40155
#define ID_RESIZE 40156
#define ID_ZOOM_IN 40160
#define ID_ZOOM_OUT 40161
#define ID_ZOOM_ACTUAL 40162
#define ID_ZOOM_FIT 40163
#define ID_FULL_SCREEN 40164
#define ID_NEXT_PICTURE 40170
#define ID_PREVIOUS_PICTURE 40171
#define ID_FIRST_PICTURE 40172
#define ID_LAST_PICTURE 40173
#define ID_NEXT_FRAME 40174
#define ID_PREVIOUS_FRAME 40175
#define ID_PLAY 40176
#define ID_OPEN_WITH 40180 /* file types: offer and take back */
#define ID_FIRST_RECENT 40200

/* Controls; the same number means different things in different dialogs. */
#define IDC_RESIZE_WIDTH 1000 /* size of an image */
#define IDC_RESIZE_HEIGHT 1001
#define IDC_RESIZE_KEEP 1002

#define IDC_FACTOR 1000 /* gamma, rescale, resample */

#define IDC_WINDOW_LIST 1001 /* file to save, merge source */

#define IDC_FILE_TYPE 1002 /* output choices */
#define IDC_DEPTH 1003
#define IDC_QUALITY 1005
#define IDC_QUALITY_TEXT 1006
#define IDC_COMPRESSION 1007
#define IDC_INTERLACE 1008

#define IDC_RAW_WIDTH 1000 /* RAW guide */
#define IDC_RAW_HEIGHT 1001
#define IDC_RAW_KIND 1002
#define IDC_SWAP 1008

#define IDC_FRAME 1005 /* frame of a sequence */
#define IDC_FRAME_TEXT 1009
#define IDC_LAST_FRAME_TEXT 1010

/* The progress window's button. */
#define IDC_STOP 8824

#endif
