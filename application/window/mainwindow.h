#pragma once

#include "recording_tags.h"

#include <ondo/main_window.h>

#include <QElapsedTimer>
#include <QList>
#include <QMap>
#include <QSet>
#include <QSettings>
#include <QString>
#include <QStringList>

class QAction;
class QTimer;
class camera_timeline;
struct file_identity;
class cameras_panel;
class Ui_MainWindow;
class run_note;
class table_data_model;
class undo_journal;

namespace ondo {
class application_log;
class button_dark;
class progress_dialog;
} // namespace ondo

// The application's one window: header with the fix and undo buttons, the black drop area,
// the offset and format panels and the table. Every operation starts in one of its slots and
// runs on the GUI thread.
class MainWindow : public ondo::main_window {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // Takes QEvent::FileOpen (a file or a directory, like a drop); passes everything else on.
    bool event(QEvent* e) override;

public slots:
    // Hands the files one by one to the model under the progress dialog, then sorts once.
    // Adds to what is in the table; paths already there still move the bar.
    void load_files(QStringList filenames);
    void on_button_load_images_clicked();
    // Empties the table, the offset panel and the cache; the undo information stays.
    void on_button_reset_clicked();
    void on_button_fix_time_clicked();
    void on_button_undo_clicked();
    void on_button_settings_clicked();
    void on_button_about_clicked();
    void on_button_help_clicked();

protected:
    // A close during a run lets the run finish, but gives ExifTool only a few seconds for each
    // further file before it is stopped, so that a child that doesn't answer can't hold the quit.
    void closeEvent(QCloseEvent* e) override;

private slots:
    // Asks what to do with fix runs that an earlier start left unfinished, one at a time.
    void offer_unfinished_runs();
    // Lists the opened names that were neither a file nor a folder, in one box once no run is
    // under way.
    void report_names_not_loaded();
    // Asks for the true time of the table's current photo and puts the offset that takes its
    // recording time there into the offset panel.
    void correct_time_of_current_photo();
    // Takes the selected rows out of the table; the files are not touched.
    void remove_selected_rows();
    // With exactly two rows of two cameras selected: the current row's camera gets the
    // correction that puts its new time onto the other row's (mainwindow_cameras.cpp).
    void same_moment();
    // The current row's camera gets the correction that puts its files' new times on their GPS time.
    void camera_from_gps();
    // After the files or their times changed: the cameras, their estimates and the timeline's photos.
    void cameras_changed();

private:
    // In the progress dialog of the run under way: ExifTool is still at `file`, with a button
    // that stops it. Until the file has answered, the rest of the window takes no input.
    void show_stall_notice(const QString& file);
    // The bar of `dialog` shows the files per second and the time left after `done` files.
    static void show_pace(ondo::progress_dialog* dialog, int done, qint64 elapsed_ms);
    void end_stall_notice();
    // Stops each child that has been at its file for `busy_for_ms`; the run under way counts
    // that file as failed and ends before the next one.
    void stop_exiftool(int busy_for_ms);
    // The run under way stops before its next file: ExifTool was stopped, by the user or by the
    // quit's watchdog.
    bool run_ends() const { return stop_requested; }
    void make_buttons();
    void setup_layout();
    // Tab order, the table's rows by keys, and the correct-time action (mainwindow_correct_time.cpp).
    void setup_keyboard();
    void setup_tableview();
    void setup_drop_files_widget();
    void setup_tavimo_progress_dialog();
    void setup_load_images_progress_dialog();
    void setup_inter_widget_connections();
    void load_application_settings();
    void save_application_settings();
    // Hidden until a run sets a value. A `stoppable` one has a Stop button that ends the run
    // before its next file.
    ondo::progress_dialog* make_progress_dialog(const QString& label, bool stoppable);
    // The undo information on disk (mainwindow_journal.cpp). Before a fix write: is `path` still
    // the file that was loaded, and are its old values on disk? If not, it goes on
    // `failed_files` with the reason and must not be written.
    void setup_undo_journal();
    bool journal_before_write(const QString& path, const QList<undo_entry>& undo, QStringList& failed_files,
                              bool flush = true);
    void end_journal_run();
    // Logs a note when the file system did not take the file time a fix wrote into `path`: a
    // FAT card holds nothing before 1980. The photo counts as fixed all the same. `left` is the
    // file as the write left it, where it was looked at.
    void note_unset_file_time(const QString& path, const exif_tag_map& values, const file_identity& left);
    // The panel's offset, its zone and the cameras' corrections, for the log line of a fix run.
    QString offsets_for_log() const;
    // The cameras panel and the timeline between the panels and the table, and the actions on
    // cameras; shown once two cameras are loaded (mainwindow_cameras.cpp).
    void setup_cameras();
    // After an offset or a correction changed: the timeline's lanes move.
    void offsets_changed();
    // Whether the context menu's camera actions apply to the rows selected now.
    void update_camera_actions();

    // When a run paints again: its bar ten times a second, and after its last file, which is
    // enough for the eye. The table every `table_ms`: a changed row repaints it whole, and one paint
    // of it costs the program more than its own work on several files. Its paints wait while a
    // pacer lives.
    class paint_pacer {
    public:
        explicit paint_pacer(QWidget* table, int table_ms = 250);
        ~paint_pacer();
        paint_pacer(const paint_pacer&) = delete;
        paint_pacer& operator=(const paint_pacer&) = delete;
        // After each file of a run, `done` of them so far: when the bar's turn has come, `dialog`
        // shows them and their pace, and the events that wait run, the table painted among them if
        // its turn has come too; `max_ms` as QCoreApplication::processEvents takes it, none by default.
        void step(ondo::progress_dialog* dialog, int done, qint64 elapsed_ms, bool last, int max_ms = -1);

    private:
        QWidget* table;
        int table_ms;
        QElapsedTimer clock, table_clock;
    };

    // Held by each load, fix and undo run. A close during a run hides the window at once; its
    // deletion waits until the outermost run has returned, so no run goes on in a deleted window.
    struct run_guard {
        explicit run_guard(MainWindow* window);
        ~run_guard();
        MainWindow* window;
    };
    int runs_under_way = 0;
    bool delete_after_run = false;
    // Counts resets, so that a run sees one that happened between two of its files.
    int resets = 0;
    bool stop_requested = false;
    bool quitting = false;
    // The window was closed (by the user or a termination signal) since it was last shown.
    bool closed = false;
    QTimer* quit_watchdog = nullptr;

    QSettings settings;
    ondo::application_log* log;
    Ui_MainWindow* ui;
    table_data_model* model = nullptr;
    ondo::progress_dialog* tavimo_progress_dialog = nullptr;
    ondo::progress_dialog* load_images_progress_dialog = nullptr;
    // The last fix run's old values by path; the undo button is enabled exactly when it holds any.
    QMap<QString, packed_undo> undo_info;
    undo_journal* journal = nullptr;
    // Where the file dialog opens; changed only by that dialog.
    QString last_load_path;
    ondo::button_dark* button_fix_time = nullptr;
    ondo::button_dark* button_undo = nullptr;
    ondo::button_dark* button_settings = nullptr;
    ondo::button_dark* button_help = nullptr;
    ondo::button_dark* button_about = nullptr;
    ondo::button_dark* button_load_images = nullptr;
    ondo::button_dark* button_reset = nullptr;
    // What the last fix or undo did, until the next action.
    run_note* note = nullptr;
    QStringList names_not_loaded;
    QAction* correct_time_action = nullptr;
    QAction* remove_action = nullptr;
    QAction* same_moment_action = nullptr;
    QAction* camera_from_gps_action = nullptr;
    QWidget* cameras_area = nullptr;
    cameras_panel* cameras = nullptr;
    camera_timeline* timeline = nullptr;
    // One photo of each of the timeline's lanes, by which the lane's shift is measured.
    QStringList lane_photos;
    // The cameras whose files hold a usable GPS time, as of the last change of the files.
    QSet<QString> cameras_with_gps;
};
