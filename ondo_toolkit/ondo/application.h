#pragma once

#include <QApplication>
#include <QPointer>

namespace ondo {

// A QApplication that hands file-open requests on to the main window once that window is visible.
template <typename T>
class application : public QApplication {
public:
    application(int& argc, char** argv) : QApplication(argc, argv)
    {
        // A desktop program shows no software keyboard on its own. Asking for one after each key
        // crashes Qt 6's Wayland client where the compositor offers no seat (no keyboard at all,
        // as under a headless compositor whose keys a test sends): it looks up the text input of
        // an input device that doesn't exist.
        setAutoSipEnabled(false);
    }
    ~application() override = default;

    bool event(QEvent* e) override
    {
        // Only the file-open requests: the application's own events (a queued call among them)
        // would otherwise run a second time in the window.
        if (e->type() == QEvent::FileOpen && main_window && main_window->isVisible())
            return main_window->event(e);
        return QApplication::event(e);
    }

    QPointer<T> main_window;
};

} // namespace ondo
