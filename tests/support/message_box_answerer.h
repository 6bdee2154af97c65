#pragma once

#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include <functional>

class QDialog;

namespace test_support {

// What the answered dialog showed, filled in when it is answered.
struct seen_box {
    bool answered = false;
    QString title;
    QString text;
    QStringList buttons;       // button texts, mnemonics removed, in layout order
    QString default_button;    // text of the default button of a message box, if any
    bool cancelled = false;    // set by the test: stop waiting for a box that isn't coming
};

// Answers the next modal dialog (a message box, an input dialog, any QDialog) from a timer, so
// that a test can call code that blocks in exec(). `answer` is the text of the button to click
// (mnemonic '&' ignored, e.g. "Yes", "Keep changes", "OK"), "close" for the window's close
// control, or "default" for the box's default button. `prepare` runs on the dialog first, e.g. to
// type a value. Call it right before the code that opens the dialog. Gives up with a warning
// after `timeout_ms` if no dialog comes up.
QSharedPointer<seen_box> answer_next_box(const QString& answer,
    std::function<void(QDialog*)> prepare = {}, int timeout_ms = 10000);

} // namespace test_support
