#pragma once

namespace test_support {

// Points HOME and XDG_CONFIG_HOME at a temporary directory kept for the life of the process and
// names the organisation and application as the program does, so that every default QSettings
// of the test lands in a store of its own. Call first in main, before any QSettings exists.
void use_private_settings();

// Removes every key of the default store.
void clear_settings();

} // namespace test_support
