// The keyboard's way through the window, and the offset taken from one photo whose true time is
// known.
#include "mainwindow.h"

#include "dialog_correct_time.h"
#include "table_data_model.h"
#include "ui_mainwindow.h"

#include <ondo/button_dark.h>
#include <ondo/message_box.h>

#include <QAction>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>

#include <functional>
#include <utility>

namespace {

// Calls `action` for any of `keys` pressed without modifiers (the keypad's Enter counts) in the
// watched widget.
class key_handler : public QObject {
public:
    key_handler(QObject* parent, QList<int> keys, std::function<void()> action)
        : QObject(parent), keys(std::move(keys)), action(std::move(action))
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress) {
            auto* press = static_cast<QKeyEvent*>(event);
            if (keys.contains(press->key()) && (press->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
                action();
                return true;
            }
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QList<int> keys;
    std::function<void()> action;
};

} // namespace

void MainWindow::setup_keyboard()
{
    // Top to bottom, left to right, as the window reads.
    QList<QWidget*> chain{button_settings, button_about,       button_help, button_fix_time,
                          button_undo,     button_load_images, button_reset};
    for (const char* name : {"lineedit_year", "lineedit_month", "lineedit_day", "lineedit_hour", "lineedit_minute",
                             "lineedit_second", "lineedit_timezone"})
        chain << ui->widget_time_adjust->findChild<QLineEdit*>(name);
    for (QRadioButton* radio : ui->widget_datetime_format->findChildren<QRadioButton*>())
        chain << radio;
    chain << ui->tableView;
    chain.removeAll(nullptr);
    for (int i = 1; i < chain.size(); ++i)
        setTabOrder(chain[i - 1], chain[i]);

    // The form lets the table take the focus and one row; Tab leaves it.
    QTableView* table = ui->tableView;
    correct_time_action = new QAction(tr("Set the correct time of this photo…"), table);
    // Shown in the menu; the key itself is taken by the table below.
    correct_time_action->setShortcut(QKeySequence(Qt::Key_F2));
    connect(correct_time_action, &QAction::triggered, this, &MainWindow::correct_time_of_current_photo);
    // F2 is the view's edit key, which it drops for a table that edits nothing, and Enter would
    // only activate the row; a shortcut would have to win over the view's own key handling. Not
    // the view's activation: where the desktop activates on a single click, choosing a row
    // would open the dialog.
    table->installEventFilter(new key_handler(table, {Qt::Key_F2, Qt::Key_Return, Qt::Key_Enter},
                                              [this] { correct_time_of_current_photo(); }));
    connect(table, &QAbstractItemView::doubleClicked, this, &MainWindow::correct_time_of_current_photo);

    // Delete and the context menu take the selected rows out of the table; nothing is written.
    remove_action = new QAction(tr("Remove from the list"), table);
    remove_action->setObjectName("action_remove_from_list");
    // Shown in the menu; the key is taken by the table itself, as F2 is.
    remove_action->setShortcut(QKeySequence::Delete);
    connect(remove_action, &QAction::triggered, this, &MainWindow::remove_selected_rows);
    table->installEventFilter(new key_handler(table, {Qt::Key_Delete}, [this] { remove_selected_rows(); }));

    table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(table, &QWidget::customContextMenuRequested, this, [this, table](const QPoint& position) {
        const QModelIndex index = table->indexAt(position);
        if (!index.isValid())
            return;
        // A right click inside the selection keeps it, so that a pair can be acted on.
        if (table->selectionModel()->isRowSelected(index.row(), QModelIndex()))
            table->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        else
            table->setCurrentIndex(index);
        QMenu menu(this);
        menu.setStyleSheet("QMenu {background-color: rgb(47,47,47); color: rgb(198,213,210);"
                           "border: 1px solid rgb(99,99,99); padding: 2px;}"
                           "QMenu::item {padding: 4px 16px;}"
                           "QMenu::item:selected {background-color: rgb(91,91,91); color: #f0f0f0;}");
        menu.addAction(correct_time_action);
        update_camera_actions();
        menu.addAction(same_moment_action);
        menu.addAction(camera_from_gps_action);
        menu.addSeparator();
        menu.addAction(remove_action);
        menu.exec(table->viewport()->mapToGlobal(position));
    });
}

void MainWindow::remove_selected_rows()
{
    if (runs_under_way > 0)
        return;
    QStringList paths;
    for (const QModelIndex& row : ui->tableView->selectionModel()->selectedRows())
        paths << model->files.value(row.row());
    paths.removeAll(QString());
    if (paths.isEmpty())
        return;
    model->remove_files(paths);
    cameras_changed();
}

void MainWindow::correct_time_of_current_photo()
{
    // Not while a run reads the offset file by file.
    if (runs_under_way > 0)
        return;
    const QModelIndex index = ui->tableView->currentIndex();
    if (!index.isValid() || index.row() >= model->files.size())
        return;
    const QString path = model->files.at(index.row());
    const QDateTime recorded = model->get_dt(path);
    if (!recorded.isValid()) {
        ondo::message_box::information(this, tr("Set the correct time of this photo…"),
            tr("%1 has no recording time that an offset could start from.").arg(QFileInfo(path).fileName()));
        return;
    }
    // With several cameras the photo's camera is set, from the time the row shows now; the
    // panel's offset and the other cameras stay.
    const bool per_camera = model->camera_count() >= 2;
    const QDateTime shown = per_camera ? model->get_offset_dt(path) : recorded;
    if (!shown.isValid())
        return;
    dialog_correct_time dialog(this, QFileInfo(path).fileName(), shown, model->format);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const recording_tags::shift offset = dialog.shift();
    if (per_camera) {
        const QString key = model->camera_key(path);
        const qint64 seconds = qint64(offset.days) * 86400 + qint64(offset.hours) * 3600 + offset.minutes * 60 + offset.seconds;
        model->offsets->set_correction(key, model->offsets->correction(key) + seconds);
        return;
    }
    ui->widget_time_adjust->set_offset(offset.years, offset.months, offset.days, offset.hours, offset.minutes,
                                       offset.seconds);
}
