#include "ondo/app_nap_manager.h"

namespace ondo {

// Opaque activity tokens of the platform service; null while no activity runs.
struct app_nap_manager::tokens {
    void* user = nullptr;
    void* background = nullptr;
};

app_nap_manager::app_nap_manager() : activity(new tokens) {}

// Frees the pair and ends nothing: an activity still running ends with the process.
app_nap_manager::~app_nap_manager() { delete activity; }

void app_nap_manager::start_user(const QString&) {}
void app_nap_manager::stop_user() {}
void app_nap_manager::start_background(const QString&) {}
void app_nap_manager::stop_background() {}

} // namespace ondo
