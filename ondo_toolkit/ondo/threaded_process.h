#pragma once

#include "ondo/thread.h"

#include <QRect>

#include <functional>
#include <string>

namespace ondo {

// Process-wide integer settings of the toolkit. "custom_core_count" sets the number of strips
// that threaded_process() cuts when it is given no count.
using settings_storage = global_storage<std::string, int>;

// Cuts `area` into `core_count` strips (of columns if `split_columns`, else of rows), runs
// `process` on each on the global pool, and returns when all are done. The last strip takes
// the remainder; empty strips are skipped. `process` runs on several threads at once. One call
// runs at a time; a count below 1 means "custom_core_count", else the machine's thread count.
void threaded_process(QRect area, std::function<void(QRect)> process, bool split_columns = false, int core_count = 0);

} // namespace ondo
