#include "ondo/message_box.h"
#include "ondo/style.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QTextDocument>

namespace ondo {

bool message_box::verbose = false;
bool input_dialog::new_flat_style = false;

namespace {

// The window control closes a box with "no answer"; run() turns that into Cancel.
const int closed_by_window = -1;

} // namespace

// ---------------------------------------------------------------------------------------------
// message_box

message_box::message_box(Icon icon, const QString& title, const QString& text, StandardButtons buttons,
    QWidget* parent)
    : QMessageBox(icon, title, text, buttons, parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint)
{
    setStyleSheet(
        "* {background-color: rgb(47,47,47);color: rgb(198,213,210); }"
        "/*QAbstractButton { background-color: rgb(36,36,36);background-image: none;border-image: none; }*/"
        "QAbstractButton{padding-left:0.5em; padding-top: 0.5ex; padding-right: 0.5em; padding-bottom: 0.25ex; "
        "border-style:none;border-width:3px;border-image:url(:/gui/button/dark_normal.png) 3 stretch;}"
        "QAbstractButton::pressed{border-style:none;border-width:3px;"
        "border-image:url(:/gui/button/dark_pressed.png) 3 stretch;}"
        "QAbstractButton::hover{color:#f0f0f0;}"
        "QAbstractButton::disabled{color:rgba(129,136,133,50%);}");
}

void message_box::add_buttons(StandardButtons buttons, StandardButton default_button)
{
    if (auto* icon_label = findChild<QLabel*>("qt_msgboxex_icon_label"))
        icon_label->setStyleSheet("background: none; background-color: rgb(47,47,47); color: rgb(184,196,191);");

    bool default_set = false;
    for (uint mask = Ok; mask <= LastButton; mask <<= 1) {
        if (!(buttons & mask))
            continue;
        QPushButton* added = addButton(StandardButton(mask));
        if (!added)
            continue;
        // The box keeps its icon; the style's green and red button glyphs don't fit the flat look.
        added->setIcon(QIcon());
        if (default_set)
            continue;
        if (default_button != NoButton) {
            if (mask == uint(default_button)) {
                setDefaultButton(added);
                default_set = true;
            }
        } else if (buttonRole(added) == AcceptRole || buttonRole(added) == YesRole) {
            // Yes accepts as much as Ok does: a yes/no question defaults to Yes.
            setDefaultButton(added);
            default_set = true;
        }
    }
}

// Qt's tab stops lie 80 pixels apart, so a label longer than that pushed its value a whole stop
// further than the others ("Component: ondo_infrastructure\tVersion: ..."). The stop is put
// behind the longest label instead. The text becomes selectable, which gives it the document
// whose stops can be set; support can copy it that way too.
void message_box::line_up_columns()
{
    auto* label = findChild<QLabel*>("qt_msgbox_label");
    if (!label || !text().contains('\t') || label->textFormat() == Qt::RichText)
        return;
    const QFontMetrics metrics(label->font());
    int widest = 0;
    for (const QString& line : text().split('\n'))
        if (line.contains('\t'))
            widest = qMax(widest, metrics.horizontalAdvance(line.section('\t', 0, 0)));
    label->setTextInteractionFlags(label->textInteractionFlags() | Qt::TextSelectableByMouse);
    auto* document = label->findChild<QTextDocument*>();
    if (!document)
        return;
    QTextOption option = document->defaultTextOption();
    option.setTabStopDistance(widest + metrics.horizontalAdvance(QStringLiteral("    ")));
    document->setDefaultTextOption(option);
    // Makes the label measure itself anew, keeping its document (a new text would replace it).
    const bool wrap = label->wordWrap();
    label->setWordWrap(!wrap);
    label->setWordWrap(wrap);
}

QMessageBox::StandardButton message_box::run()
{
    line_up_columns();
    const int result = exec();
    if (verbose) {
        const QString answer = result == closed_by_window || !clickedButton() ? QString("Cancel")
                                                                              : clickedButton()->text();
        qDebug("MessageBox \"%s\" \"%s\": %s", windowTitle().toUtf8().constData(), text().toUtf8().constData(),
            answer.toUtf8().constData());
    }
    if (result == closed_by_window)
        return Cancel;
    return standardButton(clickedButton());
}

QMessageBox::StandardButton message_box::ask(QWidget* parent, Icon icon, const QString& title,
    const QString& text, StandardButtons buttons, StandardButton default_button,
    const QList<QPair<StandardButton, QString>>& labels)
{
    message_box box(icon, title, text, NoButton, parent);
    box.add_buttons(buttons, default_button);
    for (const auto& label : labels) {
        if (QAbstractButton* b = box.button(label.first))
            b->setText(label.second);
    }
    return box.run();
}

void message_box::closeEvent(QCloseEvent* event)
{
    // QMessageBox would answer with its escape button (No, for a yes/no box); a box closed by
    // its window control counts as a refusal instead.
    event->accept();
    done(closed_by_window);
}

QMessageBox::StandardButton message_box::information(QWidget* parent, const QString& title,
    const QString& text, StandardButtons buttons, StandardButton default_button)
{
    return ask(parent, Information, title, text, buttons, default_button);
}

QMessageBox::StandardButton message_box::question(QWidget* parent, const QString& title,
    const QString& text, StandardButtons buttons, StandardButton default_button)
{
    return ask(parent, Question, title, text, buttons, default_button);
}

QMessageBox::StandardButton message_box::question(QWidget* parent, const QString& title,
    const QString& text, const QString& yes_text, const QString& no_text, StandardButton default_button)
{
    return ask(parent, Question, title, text, Yes | No, default_button, {{Yes, yes_text}, {No, no_text}});
}

QMessageBox::StandardButton message_box::question(QWidget* parent, const QString& title,
    const QString& text, const QString& yes_text, const QString& no_text, const QString& cancel_text,
    StandardButton default_button)
{
    return ask(parent, Question, title, text, Yes | No | Cancel, default_button,
        {{Yes, yes_text}, {No, no_text}, {Cancel, cancel_text}});
}

QMessageBox::StandardButton message_box::question(QWidget* parent, const QString& title,
    const QString& text, const QString& yes_text, const QString& no_text, const QString& yes_all_text,
    const QString& no_all_text, StandardButton default_button)
{
    return ask(parent, Question, title, text, Yes | No | YesToAll | NoToAll, default_button,
        {{Yes, yes_text}, {No, no_text}, {YesToAll, yes_all_text}, {NoToAll, no_all_text}});
}

QMessageBox::StandardButton message_box::warning(QWidget* parent, const QString& title,
    const QString& text, StandardButtons buttons, StandardButton default_button)
{
    return ask(parent, Warning, title, text, buttons, default_button);
}

QMessageBox::StandardButton message_box::critical(QWidget* parent, const QString& title,
    const QString& text, StandardButtons buttons, StandardButton default_button)
{
    return ask(parent, Critical, title, text, buttons, default_button);
}

QMessageBox::StandardButton message_box::critical(QWidget* parent, const QString& title,
    const QString& text, const QString& yes_text, const QString& no_text, StandardButton default_button)
{
    return ask(parent, Critical, title, text, Yes | No, default_button, {{Yes, yes_text}, {No, no_text}});
}

// ---------------------------------------------------------------------------------------------
// input_dialog

namespace {

void prepare(QInputDialog& dialog, const QString& title, const QString& label)
{
    if (input_dialog::new_flat_style)
        style_dialog_flat(dialog);
    else
        style_dialog(dialog);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
}

bool run(QInputDialog& dialog, bool* ok)
{
    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (ok)
        *ok = accepted;
    return accepted;
}

} // namespace

double input_dialog::get_double(QWidget* parent, const QString& title, const QString& label, double value,
    double min, double max, int decimals, bool* ok, Qt::WindowFlags flags)
{
    QInputDialog dialog(parent, flags);
    prepare(dialog, title, label);
    dialog.setDoubleDecimals(decimals);
    dialog.setDoubleRange(min, max);
    dialog.setDoubleValue(value);
    return run(dialog, ok) ? dialog.doubleValue() : value;
}

int input_dialog::get_int(QWidget* parent, const QString& title, const QString& label, int value, int min,
    int max, int step, bool* ok, Qt::WindowFlags flags)
{
    QInputDialog dialog(parent, flags);
    prepare(dialog, title, label);
    dialog.setIntRange(min, max);
    dialog.setIntValue(value);
    dialog.setIntStep(step);
    return run(dialog, ok) ? dialog.intValue() : value;
}

QString input_dialog::get_item(QWidget* parent, const QString& title, const QString& label,
    const QStringList& items, int current, bool editable, bool* ok, Qt::WindowFlags flags,
    Qt::InputMethodHints hints)
{
    const QString preset = current >= 0 && current < items.size() ? items.at(current) : QString();
    QInputDialog dialog(parent, flags);
    prepare(dialog, title, label);
    dialog.setComboBoxItems(items);
    dialog.setTextValue(preset);
    dialog.setComboBoxEditable(editable);
    dialog.setInputMethodHints(hints);
    return run(dialog, ok) ? dialog.textValue() : preset;
}

QString input_dialog::get_multi_line_text(QWidget* parent, const QString& title, const QString& label,
    const QString& text, bool* ok, Qt::WindowFlags flags, Qt::InputMethodHints hints)
{
    QInputDialog dialog(parent, flags);
    prepare(dialog, title, label);
    dialog.setOption(QInputDialog::UsePlainTextEditForTextInput);
    dialog.setTextValue(text);
    dialog.setInputMethodHints(hints);
    return run(dialog, ok) ? dialog.textValue() : QString();
}

QString input_dialog::get_text(QWidget* parent, const QString& title, const QString& label,
    QLineEdit::EchoMode mode, const QString& text, bool* ok, Qt::WindowFlags flags,
    Qt::InputMethodHints hints, const QString& ok_text, const QString& cancel_text)
{
    QInputDialog dialog(parent, flags);
    prepare(dialog, title, label);
    dialog.setTextValue(text);
    dialog.setTextEchoMode(mode);
    dialog.setInputMethodHints(hints);
    if (!ok_text.isEmpty())
        dialog.setOkButtonText(ok_text);
    if (!cancel_text.isEmpty())
        dialog.setCancelButtonText(cancel_text);
    return run(dialog, ok) ? dialog.textValue() : QString();
}

// ---------------------------------------------------------------------------------------------
// style_dialog, style_dialog_flat

void style_dialog(QInputDialog& dialog)
{
    dialog.setWindowFlags(dialog.windowFlags() & ~Qt::WindowContextHelpButtonHint);
    dialog.setStyleSheet(
        QString("* {background: none;background-color: rgb(47,47,47);border-image: none;color: rgb(198,213,210); }"
                "/*QAbstractButton { background-color: rgb(99,99,99); }*/"
                "QAbstractButton{padding-left:0.5em; padding-top: 0.5ex; padding-right: 0.5em; "
                "padding-bottom: 0.25ex; border-style:none;border-width:3px;"
                "border-image:url(:/gui/button/dark_normal.png) 3 stretch;}"
                "QAbstractButton::pressed{border-style:none;border-width:3px;"
                "border-image:url(:/gui/button/dark_pressed.png) 3 stretch;}"
                "QAbstractButton::hover{color:#f0f0f0;}"
                "QAbstractButton::disabled{color:rgba(129,136,133,50%);}"
                "QLineEdit { border: 1px solid rgb(99,99,99); background-color: rgb(38,38,38); }")
        + framed_combobox_rules + list_scrollbar_rules);
}

void style_dialog_flat(QInputDialog& dialog)
{
    dialog.setWindowFlags(dialog.windowFlags() & ~Qt::WindowContextHelpButtonHint);
    dialog.setStyleSheet(
        QString("* {background: none;background-color: rgb(47,47,47);border-image: none;color: rgb(198,213,210); }"
                "QAbstractButton{padding-left:0.5em; padding-top: 0.5ex; padding-right: 0.5em; "
                "padding-bottom: 0.25ex; border:none;}"
                "QAbstractButton::pressed{border-style:none;border:none;}"
                "QAbstractButton::hover{color:#f0f0f0;}"
                "QAbstractButton::disabled{color:rgba(129,136,133,50%);}"
                "QLineEdit {background:rgb(38,38,38);color:rgb(220,220,220);border:none;"
                "selection-background-color:rgb(198,213,210);selection-color:#000;}"
                "QComboBox{padding-left:0.2em;margin-top:0px;margin-bottom:0px;outline:0px;"
                "selection-background-color:rgb(200,210,200);font-size:12px;background-color:rgb(36,36,36);"
                "border:none;selection-color:#000;color:rgb(160,160,160);}"
                "QComboBox QAbstractItemView{margin-top:0px;margin-bottom:0px;outline:0px;"
                "selection-background-color:rgb(200,210,200);background-color:rgb(36,36,36);border:none;"
                "selection-color:#000;color:rgb(198,213,210);}"
                "QComboBox QAbstractItemView::item{padding-left:0.5em;}"
                "QComboBox::drop-down{outline:0px;selection-background-color:rgb(200,210,200);border:none;}"
                "QComboBox::down-arrow{image:url(:/gui/combobox/arrow.png);width:20;}")
        + list_scrollbar_rules);
}

} // namespace ondo
