// The maker's web page at the end of an install by the wizard.
#pragma once

#include <framework.h>

// Opens the page in the default browser after a first install or an upgrade; not in a silent run, and not
// when the package came with settings of its own. HomePage.url in the target folder gives the address its
// query text and language.
void OpenClosingPage();
