#include "ondo/file_dialog.h"
#include "ondo/style.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>

namespace ondo {

QStringList file_dialog::get_open_file_names(QWidget* parent, const QString& caption, const QString& directory,
    const QString& filter)
{
    QFileDialog dialog(parent, caption, directory, filter);
    dialog.setFileMode(QFileDialog::ExistingFiles);
    style_file_dialog(dialog);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles();
}

void style_file_dialog(QFileDialog& dialog)
{
    dialog.setStyleSheet(
        QString("* {background: none;background-color: rgb(47,47,47);border-image: none;color: rgb(198,213,210); }"
                "QPushButton{padding-left:0.5em; padding-top: 0.5ex; padding-right: 0.5em; "
                "padding-bottom: 0.25ex; border-style:none;border-width:3px;"
                "border-image:url(:/gui/button/dark_normal.png) 3 stretch;}"
                "QPushButton::pressed{border-style:none;border-width:3px;"
                "border-image:url(:/gui/button/dark_pressed.png) 3 stretch;}"
                // The icon-only tool buttons keep their size; the frame would leave no room for the icon.
                "QToolButton{border: 1px solid transparent; border-radius: 2px;}"
                "QToolButton::hover{border: 1px solid rgb(99,99,99);}"
                "QToolButton::pressed,QToolButton::checked{border: 1px solid rgb(99,99,99);"
                "background-color: rgb(68,68,68);}"
                "QAbstractButton::hover{color:#f0f0f0;}"
                "QAbstractButton::disabled{color:rgba(129,136,133,50%);}"
                "QLineEdit{border: 1px solid rgb(99,99,99); background-color: rgb(38,38,38);"
                "selection-background-color:rgb(198,213,210);selection-color:#000;}")
        + framed_combobox_rules
        // The folder list and the side bar: input-field face, the line edits' selection.
        + QString("QAbstractItemView{background-color: rgb(38,38,38);border: 1px solid rgb(99,99,99);outline:0px;"
                "selection-background-color:rgb(198,213,210);selection-color:#000;}"
                "QHeaderView::section{background-color: rgb(47,47,47);border: none;"
                "border-right: 1px solid rgb(99,99,99);border-bottom: 1px solid rgb(99,99,99);padding-left: 4px;}"
                "QScrollBar:horizontal{border: none; background-color:rgb(47,47,47); height:11px; margin: 0px; }"
                "QScrollBar::handle:horizontal{border: 1px solid black; border-radius: 5px; background: rgb(0,0,0); "
                "min-width: 20px;}"
                "QScrollBar::add-line:horizontal, QScrollBar::sub-line:horizontal{background: black; width: 0px; "
                "subcontrol-origin: margin;}"
                "QScrollBar::corner{background-color: rgb(47,47,47);}")
        + list_scrollbar_rules);
    // Under a sheet a combo box's least width is that of its longest entry, and the filter's
    // entry lists every extension: the dialog would grow wider than the screen.
    for (auto* combo : dialog.findChildren<QComboBox*>()) {
        combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        combo->setMinimumContentsLength(20);
    }
    // The style's green and red button glyphs don't belong to the flat dark look.
    for (auto* box : dialog.findChildren<QDialogButtonBox*>())
        for (QAbstractButton* button : box->buttons())
            button->setIcon(QIcon());
}

} // namespace ondo
