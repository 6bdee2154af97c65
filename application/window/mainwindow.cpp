#include "mainwindow.h"

#include "dialog_settings.h"
#include "drop_files_widget.h"
#include "run_note.h"
#include "run_pace.h"
#include "table_data_model.h"
#include "ui_mainwindow.h"
#include "user_guide.h"

#include <ondo/application_information_box.h>
#include <ondo/application_log.h>
#include <ondo/button_dark.h>
#include <ondo/dialog_about.h>
#include <ondo/exiftool.h>
#include <ondo/exiftool_data.h>
#include <ondo/file_dialog.h>
#include <ondo/help.h>
#include <ondo/language.h>
#include <ondo/message_box.h>
#include <ondo/progress_dialog.h>
#include <ondo/style.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QElapsedTimer>
#include <QtDebug>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIcon>
#include <QProgressBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStandardPaths>
#include <QStyleFactory>
#include <QTimer>
#include <QUrl>
#include <QWindow>

#include <vector>

namespace {

// Icon colours of all seven buttons: highlight, then normal.
constexpr ondo::pixel_argb icon_highlight(0xFFF0F0F0);
constexpr ondo::pixel_argb icon_normal(0xFF818885);

ondo::button_dark* make_button(QWidget* parent, int width, int height, const QString& type, const QString& icon,
                               const QString& tool_tip)
{
    auto* button = new ondo::button_dark(parent);
    button->setFixedSize(width, height);
    if (!type.isEmpty())
        button->set_type(type);
    button->set_icon(icon, -1, -1, icon_highlight, icon_normal);
    button->setToolTip(tool_tip);
    // The icon says nothing to a screen reader; the tool tip does.
    button->setAccessibleName(tool_tip);
    // Reached by Tab, while a click leaves the focus where the typing goes on.
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

// While it lives, no user input reaches `window` or anything in it; its dialogs, which are
// windows of their own, and other windows take input as ever. A load lets every event through
// so that its Stop can be pressed, while the table, the panels and the shortcuts stay as they
// are. Not done with a modal progress dialog: boxes that come up meanwhile must stay the modal ones.
class input_held_from : public QObject {
public:
    explicit input_held_from(QWidget* window) : window(window) { QCoreApplication::instance()->installEventFilter(this); }
    ~input_held_from() override { QCoreApplication::instance()->removeEventFilter(this); }

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::MouseButtonPress: case QEvent::MouseButtonRelease: case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove: case QEvent::Wheel: case QEvent::KeyPress: case QEvent::KeyRelease:
        case QEvent::ShortcutOverride: case QEvent::Shortcut: case QEvent::ContextMenu: case QEvent::InputMethod:
        case QEvent::TouchBegin: case QEvent::TouchUpdate: case QEvent::TouchEnd: case QEvent::TouchCancel:
        case QEvent::TabletPress: case QEvent::TabletMove: case QEvent::TabletRelease: case QEvent::NativeGesture:
        case QEvent::Gesture: case QEvent::DragEnter: case QEvent::DragMove: case QEvent::Drop:
            break;
        default:
            return false;
        }
        // Input comes to the native window first, then to its widgets; shortcuts and actions get
        // theirs as plain objects, owned by a widget.
        if (auto* handle = qobject_cast<QWindow*>(receiver))
            return handle == window->windowHandle();
        for (QObject* owner = receiver; owner; owner = owner->parent())
            if (owner->isWidgetType())
                return static_cast<QWidget*>(owner)->window() == window;
        return false;
    }

private:
    QWidget* const window;
};

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : ondo::main_window(parent), log(ondo::application_log::instance()), ui(new Ui_MainWindow)
{
    ondo::install_log_shortcuts(log, this);
    // The two keys that the help page names, on every platform (Qt's Ctrl is Cmd on macOS).
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_O), this), &QShortcut::activated, this,
            &MainWindow::on_button_load_images_clicked);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this), &QShortcut::activated, this,
            &MainWindow::close);

    QFontDatabase::addApplicationFont(":/images/FreeSans.ttf");
    QFontDatabase::addApplicationFont(":/images/FreeSansBold.ttf");
    ondo::alias_font_family("FreeSansBold", "FreeSans");
    QFont font("FreeSans");
    font.setPointSize(12);
    QApplication::setFont(ondo::design_font(font));

    make_buttons();
    ui->setupUi(this);
    // The desktop's icon, drawn by the program itself, for task bars and window lists; dialogs
    // take it from their parent.
    QIcon icon;
    for (int size : {16, 24, 32, 48, 64, 128, 256})
        icon.addFile(QString(":/images/icons/%1.png").arg(size), QSize(size, size));
    setWindowIcon(icon);
    setup_layout();
    setup_tableview();
    setup_drop_files_widget();
    setup_tavimo_progress_dialog();
    setup_load_images_progress_dialog();
    setup_inter_widget_connections();
    setup_keyboard();
    setup_cameras();
    ondo::application_information_box::install(this, {});
    load_application_settings();

    connect(ondo::exiftool_events::instance(), &ondo::exiftool_events::overdue, this, &MainWindow::show_stall_notice);
    quit_watchdog = new QTimer(this);
    quit_watchdog->setSingleShot(true);
    quit_watchdog->setInterval(5000);
    connect(quit_watchdog, &QTimer::timeout, this, [this] { stop_exiftool(quit_watchdog->interval() - 1000); });
    ui->widget_time_adjust->init_focus();
    setup_undo_journal();
}

MainWindow::~MainWindow() { delete ui; }

bool MainWindow::event(QEvent* e)
{
    if (e->type() == QEvent::DeferredDelete && runs_under_way > 0) {
        delete_after_run = true;
        return true;
    }
    if (e->type() == QEvent::Show)
        closed = false;
    if (e->type() != QEvent::FileOpen)
        return QMainWindow::event(e);
    const QString path = static_cast<QFileOpenEvent*>(e)->file();
    const QFileInfo info(path);
    if (!info.isFile() && !info.isDir()) {
        // Not dropped in silence: the name was typed by a person or passed on by a program.
        if (names_not_loaded.isEmpty())
            QTimer::singleShot(0, this, &MainWindow::report_names_not_loaded);
        names_not_loaded << path;
        return true;
    }
    load_files(drop_files_widget::regular_files(drop_files_widget::expand_directory(path)));
    return true;
}

// Before the form: its setupUi connects each on_button_<name>_clicked slot to the button of that
// object name, so the buttons must exist by then. Laid out later by setup_layout.
void MainWindow::make_buttons()
{
    button_fix_time = make_button(this, 120, 46, "header", ":/images/icon_fix_time.png",
                                  tr("Apply changes to the timestamps of the images"));
    button_undo = make_button(this, 46, 46, "header", ":/images/icon_undo.png",
                              tr("Undo the last set of timestamp changes"));
    button_settings = make_button(this, 23, 22, QString(), ":/images/icon_settings.png",
                                  tr("Change application settings"));
    button_help = make_button(this, 23, 22, QString(), ":/images/icon_help.png",
                              tr("Show documentation, shortcuts and usage information"));
    button_about = make_button(this, 23, 22, QString(), ":/images/icon_about.png",
                               tr("Show information about the application"));
    button_load_images = make_button(this, 23, 22, QString(), ":/images/icon_open.png", tr("Load images"));
    button_reset = make_button(this, 23, 22, QString(), ":/images/icon_clear_small.png",
                               tr("Clear list of loaded images"));
    // The names match the slots; scripts that drive the window find the buttons by them too,
    // as the tool tips change with the language.
    button_fix_time->setObjectName("button_fix_time");
    button_undo->setObjectName("button_undo");
    button_settings->setObjectName("button_settings");
    button_help->setObjectName("button_help");
    button_about->setObjectName("button_about");
    button_load_images->setObjectName("button_load_images");
    button_reset->setObjectName("button_reset");

    note = new run_note(this);
    // Connected before the form connects the buttons' own slots, so that a run's note comes
    // after the clearing.
    for (ondo::button_dark* button : {button_fix_time, button_undo, button_load_images, button_reset})
        connect(button, &QPushButton::clicked, note, &run_note::clear);
}

void MainWindow::report_names_not_loaded()
{
    // After the loads that came with the names, not in the middle of one.
    if (runs_under_way > 0) {
        QTimer::singleShot(200, this, &MainWindow::report_names_not_loaded);
        return;
    }
    QStringList names = names_not_loaded;
    names_not_loaded.clear();
    if (names.isEmpty())
        return;
    // The box stays inside the screen however many names came.
    const int shown = 12;
    if (names.size() > shown + 1) {
        const int more = names.size() - shown;
        names = names.mid(0, shown);
        names << tr("… and %1 more").arg(more);
    }
    ondo::message_box::warning(this, tr("Not loaded"),
        tr("These names are neither files nor folders, so nothing was loaded from them:\n\n%1")
            .arg(names.join(QLatin1Char('\n'))));
}

void MainWindow::setup_layout()
{
    auto* info = new QHBoxLayout(ui->widget_info);
    info->setContentsMargins(10, 4, 10, 4);
    info->setSpacing(4);
    info->addWidget(button_settings);
    info->addSpacing(8);
    info->addWidget(note, 1);
    info->addWidget(button_about);
    info->addWidget(button_help);

    button_undo->setEnabled(false);
    auto* header = new QWidget(ui->widget_logo);
    header->setObjectName("header");
    header->setStyleSheet("#header {background-image: url(:/images/head_medium_dark_without_shadow.png);}");
    auto* header_layout = new QHBoxLayout(header);
    header_layout->setContentsMargins(0, 5, 20, 5);
    header_layout->setSpacing(4);
    header_layout->addSpacing(300);
    header_layout->addWidget(button_fix_time);
    header_layout->addWidget(button_undo);
    header_layout->addStretch(1);
    auto* logo = new QWidget(header);
    logo->setFixedSize(216, 48);
    // Without the slash after the colon: Qt resolves it all the same.
    logo->setStyleSheet("background-image: url(:images/logo_small.png);");
    header_layout->addWidget(logo);
    auto* logo_layout = new QHBoxLayout(ui->widget_logo);
    logo_layout->setContentsMargins(0, 0, 0, 0);
    logo_layout->setSpacing(0);
    logo_layout->addWidget(header);
    ui->widget_logo->setFixedHeight(66);

    const QString lang = ondo::get_language_suffix("lang");

    auto* controls = new QHBoxLayout(ui->dropper_controls);
    controls->setContentsMargins(12, 0, 12, 0);
    controls->setSpacing(4);
    controls->addStretch(1);
    controls->addWidget(button_load_images);
    controls->addWidget(button_reset);
    controls->addStretch(1);

    // Pictures exist for de and en; any other code leaves the area plain black.
    ui->widget->setStyleSheet(QString("background-color: black;background-image: url(:/images/drop_images_here_%1.png);"
                                      "background-repeat: none;background-position: bottom center;")
                                  .arg(lang));

    ui->widget_time_adjust->setWidgetsToolTip(
        tr("Change the timestamps of the photos by this value (positive and negative values can be used)"));
}

void MainWindow::setup_tableview()
{
    // The model has no parent and lives as long as the process, beyond its window; the list
    // keeps every one reachable, so that leak checkers don't count it.
    static auto* const models = new std::vector<table_data_model*>; // never destroyed either
    model = new table_data_model(nullptr);
    models->push_back(model);
    ui->tableView->setModel(model);
    ui->tableView->resizeColumnsToContents();

    QHeaderView* header = ui->tableView->horizontalHeader();
    // No column yet, so that setting the model sorts nothing.
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setSectionResizeMode(0, QHeaderView::Fixed);
    header->setSectionResizeMode(1, QHeaderView::Stretch);
    header->setSectionResizeMode(2, QHeaderView::Stretch);
    header->setSectionResizeMode(3, QHeaderView::Fixed);
    QStyle* header_style = QStyleFactory::create("fusion");
    header_style->setParent(header); // setStyle doesn't take it over
    header->setStyle(header_style);
    header->setStyleSheet("QHeaderView::section {border-width: 3;border-style: solid;border-image:url(:/gui/panel/"
                          "border.png) 3 stretch;padding-left: 1em;}");
    ui->tableView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    ondo::style_scrollbars(ui->tableView);

    // The model refuses some columns (the computed one); the indicator follows what it really did.
    // Quietly: the view would sort again by the column the rows are already sorted by.
    connect(model, &table_data_model::sort_order_override, this, [header](int column, Qt::SortOrder order) {
        const QSignalBlocker quiet(header);
        header->setSortIndicator(column, order);
    });

    header->setSortIndicator(0, Qt::AscendingOrder);
}

void MainWindow::setup_drop_files_widget()
{
    connect(ui->widget_dropper, &drop_files_widget::files_dropped, this, &MainWindow::load_files);
}

ondo::progress_dialog* MainWindow::make_progress_dialog(const QString& label, bool stoppable)
{
    auto* dialog = new ondo::progress_dialog(this, Qt::WindowFlags());
    // Neither help nor close: a fix or undo can't be cancelled, and a load has its own Stop.
    dialog->setWindowFlags(dialog->windowFlags() ^ (Qt::WindowContextHelpButtonHint | Qt::WindowCloseButtonHint));
    dialog->setWindowTitle(tr("Please Wait"));
    dialog->setLabelText(label);
    dialog->setProperty("plain_label", label);
    // Only the Stop button of the stall notice stops ExifTool. A load's Stop (its button, or the
    // dialog itself closed, as a quit by signal closes every window) ends the load after the file
    // under way; the reads queued ahead that no child has begun are dropped.
    connect(dialog, &QProgressDialog::canceled, this, [this, stoppable] {
        if (!ui->centralWidget->isEnabled()) {
            stop_exiftool(ondo::exiftool::time_limit() / 2);
        } else if (stoppable) {
            stop_requested = true;
            ondo::exiftool::drop_unsent();
        }
    });
    if (stoppable)
        dialog->setCancelButtonText(tr("Stop"));
    else
        dialog->setCancelButton(nullptr);
    dialog->setMinimumDuration(0);
    dialog->setFixedSize(static_cast<int>(dialog->width() * 1.2), dialog->height());
    dialog->setProperty("plain_size", dialog->size());
    auto* bar = new QProgressBar(dialog);
    bar->setFormat(tr("%v of %m"));
    dialog->setBar(bar);
    // Hidden until a run sets a value.
    dialog->reset();
    return dialog;
}

void MainWindow::setup_tavimo_progress_dialog()
{
    tavimo_progress_dialog = make_progress_dialog(tr("Fixing time"), false);
}

void MainWindow::setup_load_images_progress_dialog()
{
    load_images_progress_dialog = make_progress_dialog(tr("Loading files"), true);
}

void MainWindow::setup_inter_widget_connections()
{
    connect(ui->widget_datetime_format, &datetime_format::format_changed, model,
            &table_data_model::datetime_format_changed);
    // The panel has read its format from the settings already; the model has to start with it.
    // The offset needs no such push: both start at zero.
    model->datetime_format_changed(ui->widget_datetime_format->get_datetime_format());
    connect(ui->widget_time_adjust, &time_adjustment::time_offset_changed, model,
            &table_data_model::datetime_offset_changed);
}

void MainWindow::load_application_settings()
{
    last_load_path =
        settings.value("last_load_path", QStandardPaths::writableLocation(QStandardPaths::PicturesLocation))
            .toString();
}

void MainWindow::save_application_settings() { settings.setValue("last_load_path", last_load_path); }

void MainWindow::load_files(QStringList filenames)
{
    const run_guard guard(this);
    // The folders as they are now: a sidecar loaded with its image, or alone, makes the image's row.
    model->family = photo_family();
    filenames = model->family.rows_of(file_identity::as_stored(filenames));
    QElapsedTimer load_clock;
    load_clock.start();
    const int rows_before = model->rowCount();
    show_pace(load_images_progress_dialog, 0, 0);
    qInfo().noquote() << QStringLiteral("Load: %1 files").arg(filenames.size());
    stop_requested = false;
    note->clear();
    load_images_progress_dialog->setRange(0, filenames.size());
    load_images_progress_dialog->setValue(0);
    const input_held_from held(this);
    QCoreApplication::processEvents();

    // Reads go out a few files ahead, so that every ExifTool child works while the rows are
    // added one by one, in order.
    const int ahead = 32;
    int prefetched = 0;
    bool stopped = false;
    paint_pacer pacer(ui->tableView);
    for (int i = 0; i < filenames.size(); ++i) {
        // Stop, or a stopped ExifTool, ends the load; what was read so far stays in the table.
        if (run_ends()) {
            stopped = true;
            break;
        }
        for (; prefetched < filenames.size() && prefetched <= i + ahead; ++prefetched)
            model->prefetch(filenames[prefetched]);
        model->add_file(filenames[i], true);
        end_stall_notice();
        // Keeps the window painted and the Stop button pressable; the window's own input is held.
        pacer.step(load_images_progress_dialog, i + 1, load_clock.elapsed(), i + 1 == filenames.size(), 50);
    }
    model->drop_prefetched();
    // The folders' listings are done with; a library's would hold every name once more.
    model->family = photo_family();
    model->resort();
    cameras_changed();
    qInfo().noquote() << QStringLiteral("Load ended: %1 rows added%2, in %3 s")
                             .arg(model->rowCount() - rows_before)
                             .arg(stopped ? QStringLiteral(", stopped") : QString())
                             .arg(load_clock.elapsed() / 1000.0, 0, 'f', 1);
    // An empty list never reaches the maximum that hides the dialog by itself.
    load_images_progress_dialog->reset();
}

void MainWindow::closeEvent(QCloseEvent* e)
{
    if (runs_under_way > 0 && !quitting) {
        quitting = true;
        quit_watchdog->start();
    }
    ondo::main_window::closeEvent(e);
    closed = closed || e->isAccepted();
}

MainWindow::paint_pacer::paint_pacer(QWidget* table, int table_ms)
    : table(table), table_ms(table_ms)
{
    clock.start();
    table_clock.start();
    table->setUpdatesEnabled(false);
}

MainWindow::paint_pacer::~paint_pacer() { table->setUpdatesEnabled(true); }

void MainWindow::paint_pacer::step(ondo::progress_dialog* dialog, int done, qint64 elapsed_ms, bool last, int max_ms)
{
    if (!last && clock.elapsed() < 100)
        return;
    clock.restart();
    dialog->setValue(done);
    show_pace(dialog, done, elapsed_ms);
    const bool table_due = last || table_clock.elapsed() >= table_ms;
    if (table_due) {
        table_clock.restart();
        table->setUpdatesEnabled(true);
    }
    if (max_ms < 0)
        QCoreApplication::processEvents();
    else
        QCoreApplication::processEvents(QEventLoop::AllEvents, max_ms);
    if (table_due)
        table->setUpdatesEnabled(false);
}

void MainWindow::show_pace(ondo::progress_dialog* dialog, int done, qint64 elapsed_ms)
{
    if (auto* bar = dialog->findChild<QProgressBar*>())
        bar->setFormat(run_pace_format(done, dialog->maximum(), elapsed_ms));
}

void MainWindow::show_stall_notice(const QString& file)
{
    ondo::progress_dialog* dialog = tavimo_progress_dialog->isVisible() ? tavimo_progress_dialog
                                  : load_images_progress_dialog->isVisible() ? load_images_progress_dialog
                                                                             : nullptr;
    if (!dialog || runs_under_way == 0)
        return;
    ui->centralWidget->setEnabled(false);
    const QString name = dialog->fontMetrics().elidedText(QFileInfo(file).fileName(), Qt::ElideMiddle, 300);
    dialog->setLabelText(tr("ExifTool is still working on %1.\nLarge files take a while.\n"
                            "If it doesn't finish, stop it: this file then counts as failed.")
                             .arg(name));
    dialog->setCancelButtonText(tr("Stop"));
    dialog->setFixedSize(dialog->sizeHint().expandedTo(dialog->property("plain_size").toSize()));
}

void MainWindow::end_stall_notice()
{
    if (quitting)
        quit_watchdog->start(); // the next file gets its few seconds anew
    if (ui->centralWidget->isEnabled())
        return;
    ui->centralWidget->setEnabled(true);
    for (ondo::progress_dialog* dialog : {tavimo_progress_dialog, load_images_progress_dialog}) {
        dialog->setLabelText(dialog->property("plain_label").toString());
        // The load's own Stop stays; its text is the stall notice's.
        if (dialog != load_images_progress_dialog)
            dialog->setCancelButton(nullptr);
        dialog->setFixedSize(dialog->property("plain_size").toSize());
    }
}

void MainWindow::stop_exiftool(int busy_for_ms)
{
    stop_requested = true;
    // Only the children that hold up the run: the others finish what they are writing. What the
    // run queued ahead and no child has begun is not started.
    ondo::exiftool::interrupt(busy_for_ms);
    ondo::exiftool::drop_unsent();
}

void MainWindow::on_button_load_images_clicked()
{
#ifdef Q_OS_MACOS
    // A file that is never made: given it, the native dialog opens inside the directory.
    const QString start = last_load_path + "/__dummy.file";
#else
    // Elsewhere the directory alone opens inside it, and a made-up name would fill the name box.
    const QString start = last_load_path;
#endif
    QString patterns;
    for (const auto& extension : ondo::exiftool_data::writable_file_extensions)
        patterns += QString("*.%1 ").arg(QString::fromLatin1(extension.data(), int(extension.size())));

    const QStringList chosen =
        ondo::file_dialog::get_open_file_names(this, tr("Select files"), start, tr("Supported Files (%1)").arg(patterns));
    if (chosen.isEmpty())
        return;
    last_load_path = QFileInfo(chosen.first()).absolutePath();
    save_application_settings();
    load_files(chosen);
}

void MainWindow::on_button_reset_clicked()
{
    ++resets;
    model->clear();
    ui->widget_time_adjust->clear();
    model->offsets->clear_corrections();
    auto cache = exif_cache::instance();
    cache->clear();
    cameras_changed();
}

void MainWindow::on_button_settings_clicked()
{
    const QString before = ondo::get_language_suffix("lang");
    dialog_settings dialog(this);
    dialog.exec();
    if (ondo::get_language_suffix("lang") == before)
        return;
    // The default, on Yes, keeps the program running; the translators change only at a start.
    const auto answer = ondo::message_box::question(this, tr("Application language changed"),
        tr("The application language has been changed.\nThe application needs to be restarted to use the new language."),
        tr("Continue working"), tr("Quit now"), QMessageBox::Yes);
    if (answer == QMessageBox::No)
        QCoreApplication::exit(0);
}

void MainWindow::on_button_about_clicked()
{
    ondo::dialog_about about(this, false, "#logobg{ background-image:url(:/images/Head.png);}", 97, 10);
    // No web site of its own: the row leads to the guide the program carries.
    about.set_website(QUrl::fromLocalFile(user_guide::write(ondo::get_language_suffix("lang"), false)).toString(),
                      QCoreApplication::applicationName());
    about.third_party_action = [](QWidget* parent) {
        ondo::dialog_3rd_part_lib_info info(parent);
        info.add({"ExifTool",
                  tr("This program reads and writes all metadata with ExifTool by Phil Harvey, used under the "
                     "terms of Perl itself (Artistic License or GNU GPL).\nhttps://exiftool.org/"),
                  QString()});
        info.add({"GNU FreeFont",
                  tr("The fonts FreeSans and FreeSans Bold, used under the GNU GPL version 3 with the font "
                     "exception.\nhttps://www.gnu.org/software/freefont/"),
                  QString()});
        info.exec();
    };
    about.exec_centered_on(this);
}

void MainWindow::on_button_help_clicked()
{
    // Read anew, so that a language chosen in this run already counts here.
    const QString lang = ondo::get_language_suffix("lang");
    QFile page(QString(":/help/index_%1.html").arg(lang));
    page.open(QIODevice::ReadOnly);
    QString text = QString::fromUtf8(page.readAll().constData());
#ifdef Q_OS_MACOS
    // The page names the keys as Linux and Windows do; on macOS the same shortcuts take Cmd.
    text.replace("Ctrl", "Cmd");
    text.replace("Strg", "Cmd");
#endif

    // The page's links lead to the guide beside it.
    user_guide::write(lang, true);
    ondo::show_help_page(QDir::tempPath() + QString("/tavimo_help_%1.html").arg(lang), text);
}
