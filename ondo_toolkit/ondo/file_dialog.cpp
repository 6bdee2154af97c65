#include "ondo/file_dialog.h"
#include "ondo/style.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLocale>
#include <QTreeView>

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
    // Qt sizes the detail columns for its own small font and short English samples; with the
    // design's font and a German date they would be cut to "10....KiB". They get room for the
    // widest size and date the model can show.
    if (auto* tree = dialog.findChild<QTreeView*>("treeView")) {
        const QFontMetrics metrics(tree->font());
        const QLocale locale = QLocale::system();
        const int margin = 2 * metrics.horizontalAdvance(QLatin1Char('M')) + 8;
        const QString widest[] = {
            QString(),
            locale.formattedDataSize(qint64(1023.99 * 1024 * 1024)),
            QString(),
            locale.toString(QDateTime(QDate(2000, 12, 28), QTime(23, 58, 58)), QLocale::ShortFormat),
        };
        for (int column : {1, 3})
            tree->header()->resizeSection(column, qMax(tree->header()->sectionSize(column),
                                                       metrics.horizontalAdvance(widest[column]) + margin));
    }
}

} // namespace ondo
