// Gives the user's image file extensions back when the application goes away.
#pragma once

// Restores, or before Windows Vista puts back, the choice for each extension of g_extensionTable, and tells
// the shell once if anything changed.
void RestoreFileAssociations();
