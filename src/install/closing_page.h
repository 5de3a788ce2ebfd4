// The maker's web page at the end of an install in the wizard.
#pragma once

#include <framework.h>

// Opens the page in the default browser after a first install or an upgrade. Has no effect in a silent run, or
// when the package came with settings of its own. Query text and language of the address come from
// HomePage.url in the target folder.
void OpenClosingPage();
