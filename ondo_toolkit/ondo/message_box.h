#pragma once

#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>

namespace ondo {

// Dark-themed stand-ins for the static functions of QMessageBox. With `default_button` NoButton
// the first accepting button is the default. A box closed by its window control answers Cancel,
// whatever its buttons are.
class message_box : public QMessageBox {
    Q_OBJECT
public:
    message_box(Icon icon, const QString& title, const QString& text, StandardButtons buttons,
        QWidget* parent = nullptr);

    static StandardButton information(QWidget* parent, const QString& title, const QString& text,
        StandardButtons buttons = Ok, StandardButton default_button = NoButton);
    static StandardButton question(QWidget* parent, const QString& title, const QString& text,
        StandardButtons buttons = StandardButtons(Yes | No), StandardButton default_button = NoButton);
    // Yes and No, relabelled.
    static StandardButton question(QWidget* parent, const QString& title, const QString& text,
        const QString& yes_text, const QString& no_text, StandardButton default_button = NoButton);
    // Yes, No and Cancel, relabelled.
    static StandardButton question(QWidget* parent, const QString& title, const QString& text,
        const QString& yes_text, const QString& no_text, const QString& cancel_text,
        StandardButton default_button = NoButton);
    // Yes, No, YesToAll and NoToAll, relabelled.
    static StandardButton question(QWidget* parent, const QString& title, const QString& text,
        const QString& yes_text, const QString& no_text, const QString& yes_all_text,
        const QString& no_all_text, StandardButton default_button = NoButton);
    static StandardButton warning(QWidget* parent, const QString& title, const QString& text,
        StandardButtons buttons = Ok, StandardButton default_button = NoButton);
    static StandardButton critical(QWidget* parent, const QString& title, const QString& text,
        StandardButtons buttons = Ok, StandardButton default_button = NoButton);
    // Yes and No, relabelled.
    static StandardButton critical(QWidget* parent, const QString& title, const QString& text,
        const QString& yes_text, const QString& no_text, StandardButton default_button = NoButton);

    // Logs every answer ("MessageBox ...") when set.
    static bool verbose;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void add_buttons(StandardButtons buttons, StandardButton default_button);
    void line_up_columns();
    StandardButton run();
    static StandardButton ask(QWidget* parent, Icon icon, const QString& title, const QString& text,
        StandardButtons buttons, StandardButton default_button,
        const QList<QPair<StandardButton, QString>>& labels = {});
};

// Dark-themed stand-ins for the static functions of QInputDialog. On rejection the number
// functions return the value passed in, get_item the item at `current` (empty if out of range),
// and the text functions an empty string.
class input_dialog {
public:
    static double get_double(QWidget* parent, const QString& title, const QString& label,
        double value = 0, double min = -2147483647, double max = 2147483647, int decimals = 1,
        bool* ok = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    static int get_int(QWidget* parent, const QString& title, const QString& label, int value = 0,
        int min = -2147483647, int max = 2147483647, int step = 1, bool* ok = nullptr,
        Qt::WindowFlags flags = Qt::WindowFlags());
    static QString get_item(QWidget* parent, const QString& title, const QString& label,
        const QStringList& items, int current = 0, bool editable = true, bool* ok = nullptr,
        Qt::WindowFlags flags = Qt::WindowFlags(), Qt::InputMethodHints hints = Qt::ImhNone);
    static QString get_multi_line_text(QWidget* parent, const QString& title, const QString& label,
        const QString& text = QString(), bool* ok = nullptr, Qt::WindowFlags flags = Qt::WindowFlags(),
        Qt::InputMethodHints hints = Qt::ImhNone);
    // `ok_text` and `cancel_text` relabel the buttons when given.
    static QString get_text(QWidget* parent, const QString& title, const QString& label,
        QLineEdit::EchoMode mode = QLineEdit::Normal, const QString& text = QString(), bool* ok = nullptr,
        Qt::WindowFlags flags = Qt::WindowFlags(), Qt::InputMethodHints hints = Qt::ImhNone,
        const QString& ok_text = QString(), const QString& cancel_text = QString());

    // Makes every input dialog use style_dialog_flat instead of style_dialog.
    static bool new_flat_style;
};

// Both clear the context-help hint and set the dark sheet: framed, or without borders.
void style_dialog(QInputDialog& dialog);
void style_dialog_flat(QInputDialog& dialog);

} // namespace ondo
