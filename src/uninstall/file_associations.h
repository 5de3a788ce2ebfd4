// Gives the user's image file extensions back when the application goes away.
#pragma once

// For each extension of g_extensionTable that the product had taken: before Windows Vista puts the former
// choice back, from then on deletes the user's choice. Tells the shell once when that counted as a change.
void RestoreFileAssociations();
