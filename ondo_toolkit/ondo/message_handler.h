#pragma once

#include <QString>

#include <exception>
#include <functional>
#include <string>

namespace ondo {

// Installs (install=true) the toolkit's handler for Qt messages, or gives messages back to Qt's
// default. show_context is stored either way and adds " (file:line, function)" to every line.
// A fatal message also shows a box, but only on the thread of a QApplication whose platform is
// up; before that (no display yet) the line on standard error is all.
void install_qt_message_handler(bool install, bool show_context);

// Called with the level prefix, the raw message and a newline for every message the handler
// writes. Empty unless a program sets it.
extern std::function<void(const QString&)> log_message_hook;

// The toolkit's exception. Its constructor writes the message to std::cerr, so a throw is
// logged even when nobody catches it.
class exception : public std::exception {
public:
    explicit exception(const std::string& message);
    ~exception() override = default;
    const char* what() const noexcept override;

private:
    std::string message;
};

} // namespace ondo
