// Returns the user's image file extensions to other programs when the application is removed.
#pragma once

// Handles each extension of g_extensionTable that belonged to the product: before Windows Vista it restores
// the former choice, from Vista on it deletes the user's choice. If anything changed, the shell is told once.
void RestoreFileAssociations();
