/* Controls of the wizard's dialogs, by number. The same number means different things on
   different pages. Read by the resource compiler too: only #define. */
#ifndef IMX_RESOURCES_WIZARD_IDS_H
#define IMX_RESOURCES_WIZARD_IDS_H

#define IDC_OK 1
#define IDC_EXIT 2
#define IDC_BACK 3
#define IDC_DEFAULTS 4
#define IDC_NEXT 1013
#define IDC_LABEL 65535

/* Choose Components and Large Component Query */
#define IDC_GLINT 1007
#define IDC_TWISTEL 1008
#define IDC_DOCS 1007

/* Install Locations; the edits are those of Installation Confirmation too */
#define IDC_PROGRAM_DIR 1000
#define IDC_PICTURES_DIR 1001
#define IDC_HELP_DIR 1002
#define IDC_DATA_DIR 1003
#define IDC_BROWSE_PROGRAM 1008
#define IDC_BROWSE_PICTURES 1009
#define IDC_BROWSE_HELP 1010
#define IDC_BROWSE_DATA 1011

/* Program Group Selection */
#define IDC_GROUP 1000
#define IDC_GROUP_LIST 1002

/* Installation Confirmation */
#define IDC_HELP_LINE 1014
#define IDC_GROUP_LINE 1015
#define IDC_GLINT_LINE 1016
#define IDC_TWISTEL_LINE 1017

/* Storage Requirements: IDC_FIRST_DRIVE is the first of six */
#define IDC_VERDICT 1019
#define IDC_FIRST_DRIVE 1020

/* Wizard Halted, Abort Installation?, Information Requires Change, Wizard Finished */
#define IDC_HALT_MESSAGE 1015
#define IDC_HALT_SUGGESTION 1017
#define IDC_ABORT 1
#define IDC_CONTINUE 2
#define IDC_PROBLEM 1016
#define IDC_OUTCOME 1018

#endif
