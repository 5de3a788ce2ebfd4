// The state of one run: which job, how silent, for whom, which folder. Every variable is created before
// InitInstance and lives until the process ends. The program has one thread, so nothing here is locked.
#pragma once

#include "app/setup_app.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
