#pragma once

#include <QString>

namespace ondo {

// Keeps the platform from throttling the process while work runs. Only an Apple build has the
// activity service behind it; elsewhere the four calls do nothing.
class app_nap_manager {
public:
    app_nap_manager();
    ~app_nap_manager();
    app_nap_manager(const app_nap_manager&) = delete;
    app_nap_manager& operator=(const app_nap_manager&) = delete;

    void start_user(const QString& reason);
    void stop_user();
    void start_background(const QString& reason);
    void stop_background();

private:
    struct tokens;
    tokens* activity = nullptr;
};

} // namespace ondo
