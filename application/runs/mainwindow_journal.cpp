// The fix run's undo information on disk: checks before each write, and the question at start-up
// about a run that a crash left unfinished. Texts stand in the context of undo_journal.
#include "mainwindow.h"

#include "file_identity.h"
#include "table_data_model.h"
#include "undo_journal.h"
#include "write_link.h"

#include <ondo/message_box.h>

#include <QFileInfo>
#include <QSet>
#include <QtDebug>
#include <QTimer>

namespace {

QString changed_since_loaded(const QString& path)
{
    return undo_journal::tr("%1 (changed since it was loaded)").arg(path);
}

} // namespace

void MainWindow::setup_undo_journal()
{
    journal = new undo_journal(undo_journal::default_folder(), this);
    // Once the window is up, so that the question stands over it.
    QTimer::singleShot(0, this, &MainWindow::offer_unfinished_runs);
}

bool MainWindow::journal_before_write(const QString& path, const QList<undo_entry>& undo, QStringList& failed_files,
                                      bool flush)
{
    const file_identity loaded = exif_cache::instance()->identity(path);
    if (!loaded.same_file(file_identity::of(path))) {
        failed_files << changed_since_loaded(path);
        return false;
    }
    if (!journal->add(path, loaded, undo, flush)) {
        failed_files << undo_journal::tr("%1 (its undo information could not be saved)").arg(path);
        return false;
    }
    return true;
}

void MainWindow::end_journal_run()
{
    // A run that ends because the program is closing leaves its undo on disk: the user has not
    // seen its end, and the undo in memory goes with the program.
    if (!quitting && !delete_after_run)
        journal->end_run();
}

void MainWindow::offer_unfinished_runs()
{
    // Files opened with the program may be loading: the question waits for the load to end.
    if (runs_under_way > 0)
        return QTimer::singleShot(200, this, &MainWindow::offer_unfinished_runs);
    // Reading the runs' photos turns the event loop: a close meanwhile must not delete the
    // window, and with it the journal, under the reads.
    const run_guard guard(this);
    const QString title = undo_journal::tr("Unfinished fix run");
    for (const undo_journal::unfinished_run& run : journal->unfinished_runs()) {
        // The private names its writes went through, beside the photos, go first.
        QSet<QString> folders;
        for (const QString& path : run.undo.keys() + run.untouched)
            folders.insert(QFileInfo(path).canonicalPath());
        for (const QString& folder : qAsConst(folders))
            if (!folder.isEmpty())
                write_link::sweep(folder);
        // A window closed meanwhile asks nothing: the next start asks again.
        if (closed)
            break;
        const int written = int(run.undo.size());
        const int not_written = int(run.untouched.size());
        if (run.readable && run.changed.isEmpty()) {
            const auto answer = ondo::message_box::question(this, title,
                undo_journal::tr("Tavimo ended during a fix run.\nPhotos that run had changed: %1\n"
                                 "Photos it had not written yet: %2\n\n"
                                 "Undo gives the changed photos their earlier times back and leaves the others "
                                 "alone; Keep leaves all photos as they are.")
                    .arg(written)
                    .arg(not_written),
                undo_journal::tr("Undo"), undo_journal::tr("Keep"), QMessageBox::NoButton);
            qInfo().noquote() << QStringLiteral("Offered the undo of an unfinished fix run (%1 photos changed, %2 not "
                                                "written yet): %3")
                                     .arg(written)
                                     .arg(not_written)
                                     .arg(answer == QMessageBox::Yes ? QStringLiteral("undo")
                                              : answer == QMessageBox::No ? QStringLiteral("keep")
                                                                          : QStringLiteral("no answer"));
            if (answer == QMessageBox::Yes) {
                undo_info.clear();
                const QMap<QString, QList<undo_entry>> adopted = journal->adopt(run);
                for (auto file = adopted.cbegin(); file != adopted.cend(); ++file)
                    undo_info.insert(file.key(), file.value());
                on_button_undo_clicked();
                // Only now: a crash during the undo leaves the run to be looked at again. What
                // the undo could not restore is still in undo_info, and stays on disk with it.
                const QStringList left = undo_info.keys();
                journal->keep(run, left);
                if (!left.isEmpty() && !quitting)
                    ondo::message_box::information(this, title,
                        undo_journal::tr("Photos of the unfinished run that could not be restored: %1\n\n"
                                         "Their undo information is kept, and the next start offers their undo "
                                         "again.")
                            .arg(int(left.size())));
            } else if (answer == QMessageBox::No) {
                journal->discard(run);
            }
            // A closed box decides nothing: the next start asks again.
            continue;
        }

        const QString text = run.readable
            ? undo_journal::tr("Tavimo ended during a fix run.\nPhotos that run had changed: %1\n"
                               "Photos it had not written yet: %2\n\n"
                               "Some of them have changed since, so its undo information can't be applied "
                               "safely. Keep leaves all photos as they are.")
                  .arg(written)
                  .arg(not_written)
            : undo_journal::tr("Tavimo ended during a fix run, and the undo information it left can't be read, "
                               "so it can't be applied safely. Keep leaves all photos as they are.");
        for (;;) {
            const auto answer = ondo::message_box::question(this, title, text, undo_journal::tr("Keep"),
                undo_journal::tr("Show list"), QMessageBox::NoButton);
            qInfo().noquote() << QStringLiteral("Offered to keep an unfinished fix run that can't be undone safely: %1")
                                     .arg(answer == QMessageBox::Yes ? QStringLiteral("keep")
                                              : answer == QMessageBox::No ? QStringLiteral("show list")
                                                                          : QStringLiteral("no answer"));
            if (answer == QMessageBox::Yes)
                journal->discard(run);
            if (answer != QMessageBox::No)
                break;
            // A box taller than the screen would hide its button: a long list ends in a count.
            constexpr int shown_lines = 25;
            QStringList lines = run.listing.mid(0, shown_lines);
            if (run.listing.size() > shown_lines)
                lines << undo_journal::tr("… and %n more", nullptr, run.listing.size() - shown_lines);
            ondo::message_box::information(this, title, lines.join(QLatin1Char('\n')));
        }
    }
}
