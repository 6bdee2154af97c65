// The fix run, its undo information and the undo run of MainWindow.
#include "mainwindow.h"

#include "camera_clocks.h"
#include "entered_zone.h"
#include "photo_family.h"

#include "file_identity.h"
#include "photo_lock.h"
#include "write_link.h"
#include "run_note.h"
#include "table_data_model.h"
#include "time_adjustment.h"
#include "ui_mainwindow.h"
#include "undo_journal.h"

#include <ondo/button_dark.h>
#include <ondo/exif_response.h>
#include <ondo/exiftool.h>
#include <ondo/message_box.h>
#include <ondo/progress_dialog.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QTimer>
#include <QVector>
#include <QtDebug>

#include <algorithm>
#include <memory>
#include <optional>
#include <sys/statvfs.h>

namespace {

// Writes queued ahead of the one a run waits for: enough for every child to have its next one.
constexpr int writes_ahead = 8;
// Bytes of photos queued ahead at most, so that a stop or a close mid-run over large files
// waits for seconds, not minutes.
constexpr qint64 bytes_ahead = qint64(128) << 20;

// Undo information goes to disk in groups, each synced before its writes go out. A sync takes
// milliseconds on a real disk, and one for every four small photos made the program, not
// ExifTool, set the pace. So a group grows until its sync costs about a quarter of a millisecond
// a photo, and the writes queued ahead grow with it, so that the children work while the program
// syncs.
struct sync_pacer {
    int group = 4;
    int ahead() const { return qMax(writes_ahead, 2 * group); }
    void synced(qint64 ns) { group = qBound(4, int(ns / 250000) + 1, 32); }
};

// Bytes free to an unprivileged writer in `folder`, or -1 when unknown. One call to the file
// system: QStorageInfo reads the table of all mounts first, which a run would do for every photo.
qint64 free_bytes(const QString& folder)
{
    struct statvfs info {};
    if (::statvfs(QFile::encodeName(folder).constData(), &info) != 0)
        return -1;
    return qint64(info.f_bavail) * qint64(info.f_frsize);
}

// Why a write of `path` failed, as the failure list and the log say it. ExifTool's own message
// goes to its error stream, which no task keeps, so the cause is looked for where it lies.
QString failure_reason(const QString& path, ondo::exif_error error)
{
    const QFileInfo file(path);
    const QString leftover = path + QStringLiteral("_exiftool_tmp");
    if (error == ondo::exif_error::changed)
        return undo_journal::tr("changed since it was loaded");
    if (error == ondo::exif_error::ended)
        return MainWindow::tr("ExifTool ended while writing it");
    if (QFileInfo::exists(leftover))
        return MainWindow::tr("an earlier write left %1 behind").arg(leftover);
    if (!file.exists())
        return MainWindow::tr("the file is gone");
    if (!file.isWritable() || !QFileInfo(file.absolutePath()).isWritable())
        return MainWindow::tr("no permission");
    if (free_bytes(file.absolutePath()) < file.size())
        return MainWindow::tr("disk full");
    return MainWindow::tr("ExifTool could not write it");
}

} // namespace

MainWindow::run_guard::run_guard(MainWindow* window) : window(window) { ++window->runs_under_way; }

MainWindow::run_guard::~run_guard()
{
    if (--window->runs_under_way > 0)
        return;
    window->quit_watchdog->stop();
    window->end_stall_notice();
    if (window->delete_after_run)
        window->deleteLater();
}

void MainWindow::on_button_fix_time_clicked()
{
    const auto cache = exif_cache::instance();
    // A zone no clock can have is refused with a word rather than written.
    if (ui->widget_time_adjust->zone_refused()) {
        ondo::message_box::warning(ui->centralWidget, tr("Time zone"),
            tr("The time zone field holds no time zone.\nEnter hours from -12 to +14 in whole, half or quarter "
               "hours, such as 2, -3.5 or +05:30, or leave the field empty to keep each photo's own zone."));
        return;
    }
    auto ask = [this](const QString& text) {
        return ondo::message_box::question(ui->centralWidget, tr("Continue?"), text, tr("Continue"),
                   tr("Abort"), QMessageBox::NoButton)
            != QMessageBox::No;
    };
    // The files as they stand now, read once: the questions count them, and the run works
    // through them even if a click on a column header re-sorts the table between two files.
    struct planned_file {
        QString path;
        QDateTime time, new_time;
    };
    QVector<planned_file> plan;
    auto make_plan = [this, &plan] {
        plan.clear();
        for (int row = 0; row < model->rowCount(); ++row) {
            auto cell = [this, row](int column) { return model->data(model->index(row, column), Qt::UserRole); };
            plan.append({cell(0).toString(), cell(1).toDateTime(), cell(2).toDateTime()});
        }
    };
    make_plan();

    // A RAW's JPEG, a Live Photo's movie: a photo's companions that were not loaded would keep
    // the old time beside the new one. They are named before anything else is asked, so that the
    // questions after count them too.
    {
        photo_family family;
        QStringList left_out;
        QSet<QString> seen;
        for (const planned_file& file : qAsConst(plan))
            for (const QString& companion : family.companions_of(file.path))
                if (!model->holds(companion) && !seen.contains(companion)) {
                    seen.insert(companion);
                    left_out << companion;
                }
        if (!left_out.isEmpty()) {
            constexpr int shown_lines = 10;
            QStringList names;
            for (const QString& companion : left_out.mid(0, shown_lines))
                names << QFileInfo(companion).fileName();
            if (left_out.size() > shown_lines)
                names << undo_journal::tr("… and %n more", nullptr, int(left_out.size()) - shown_lines);
            const auto answer = ondo::message_box::question(ui->centralWidget, tr("Companions"),
                tr("%n files taken together with the loaded photos were left out: a RAW's JPEG or HEIC, or a Live "
                   "Photo's movie, of the same name in the same folder:\n%1\n\nThey keep their old time unless they "
                   "are included.",
                   nullptr, int(left_out.size()))
                    .arg(names.join(QLatin1Char('\n'))),
                tr("Include them"), tr("Only the loaded files"), QMessageBox::NoButton);
            if (answer != QMessageBox::Yes && answer != QMessageBox::No)
                return;
            if (answer == QMessageBox::Yes) {
                load_files(left_out);
                if (closed)
                    return;
                make_plan();
            }
        }
    }
    const int disagreeing = int(std::count_if(plan.begin(), plan.end(), [this](const planned_file& file) {
        return model->sidecar_disagrees(file.path);
    }));
    if (disagreeing > 0
        && ondo::message_box::question(ui->centralWidget, tr("Continue?"),
               tr("The sidecar of %n photos states another recording time than the photo. Both will be moved by "
                  "the same offset.",
                  nullptr, disagreeing),
               tr("Continue"), tr("Cancel"), QMessageBox::NoButton)
            != QMessageBox::Yes)
        return;

    // Nothing is written before the questions are through, so "Abort" leaves everything as it was.
    // With a zone entered, CR3 files that have nowhere to keep it are asked about; without one,
    // files whose IPTC time states no zone; and in either case times before 1972.
    if (model->offsets->panel().has_zone) {
        // A CR3 with EXIF gets the zone as EXIF offsets; one without has nowhere to keep it.
        const auto cr3_files = std::count_if(plan.begin(), plan.end(), [&cache](const planned_file& file) {
            return file.path.endsWith(QLatin1String(".cr3"), Qt::CaseInsensitive)
                && !recording_tags::holds_exif_zone(cache->of(file.path).tags.unpacked());
        });
        if (cr3_files >= 1
            && !ask(tr("Trying to alter/set timezone of %n CR3 images.\nThe CR3 format does not support timezone information.\nAll other values except the timezone will work normally.",
                        nullptr, int(cr3_files))))
            return;
    } else {
        int zoneless_files = 0;
        for (const planned_file& file : plan) {
            if (file.time.isValid() && file.new_time.isValid()) {
                const exif_cache::entry& kept = cache->of(file.path);
                if ((kept.tags.contains(QStringLiteral("IPTC:DateCreated")) || kept.tags.contains(QStringLiteral("IPTC:TimeCreated")))
                    && kept.record.value(QStringLiteral("file_timezone")).isEmpty() && !model->date_only(file.path))
                    ++zoneless_files;
            }
        }
        if (zoneless_files > 0
            && !ask(tr("%n files do not have any timezone information set and you have not specified a timezone to use.\nIf you continue, your computer's local timezone will be used.\n\nWarning: Adding the timezone to an image can not be undone.",
                        nullptr, zoneless_files)))
            return;
    }
    const QDateTime bound(QDate(1972, 1, 1), QTime(0, 0, 0, 0), Qt::LocalTime);
    const int early_files = int(std::count_if(plan.begin(), plan.end(), [&bound](const planned_file& file) {
        return file.new_time.isValid() && file.new_time < bound;
    }));
    if (early_files > 0
        && !ask(tr("%n files would be assigned a recording time before 1 January 1972.\nTheir metadata holds such a time correctly. Their file-system time may not: a FAT or exFAT memory card holds no date before 1980, and some systems none before 1970. A file time that can't be set is noted in the log; the photo is fixed all the same.",
                    nullptr, early_files)))
        return;

    // A window closed while a question was open (a termination signal closes every window, and
    // with it the box) starts no run: nothing is written while the program ends.
    if (closed)
        return;

    const run_guard guard(this);
    const int resets_before = resets;
    stop_requested = false;

    // Only the last run can be undone.
    undo_info.clear();
    model->clear_failures();
    journal->begin_run();
    button_undo->setEnabled(false);
    tavimo_progress_dialog->setRange(0, plan.size());
    tavimo_progress_dialog->setValue(0);
    QCoreApplication::processEvents();
    QElapsedTimer run_clock;
    run_clock.start();
    show_pace(tavimo_progress_dialog, 0, 0);
    qInfo().noquote() << QStringLiteral("Fix run: %1 files, %2").arg(plan.size()).arg(offsets_for_log());

    // Writes go out a few files ahead, so that every ExifTool child works; they are taken back in
    // row order. Each file's undo is on disk before its write goes out: a few files' undo
    // information is flushed at once, then their writes are sent.
    struct pending_write {
        int row;
        // A row's file, or one of its sidecars (`sidecar`), which are written with it.
        QString path;
        bool sidecar;
        QList<undo_entry> undo;
        exif_tag_map values;
        // What the file must still hold when ExifTool writes it: a file that another program
        // edited, or that a rename put in its place, is never given this one's time.
        exif_tag_map expected;
        qint64 size;
        ondo::exif_response* response;
        // Held until the write's answer is taken: no other copy of Tavimo changes the photo meanwhile.
        std::shared_ptr<photo_lock> lock;
        // The name ExifTool writes through: the photo's own file, whatever is renamed meanwhile.
        std::shared_ptr<write_link> link;
    };
    QList<pending_write> unsent, pending;
    qint64 unsent_bytes = 0, pending_bytes = 0;
    QMap<int, QStringList> failures; // by row, so that they are listed in table order
    QVector<QPair<QString, exif_tag_map>> written_values;
    QSet<int> written_rows;
    // The failures' marks, by path: a row whose file was written and whose sidecar was not keeps
    // its mark when it shows the file's new time.
    QVector<QPair<QString, QString>> marks;
    int sidecars_written = 0;
    // Marks the row of `path` (a row's file or its sidecar) with why it failed: what the listing
    // says behind the path.
    auto fail = [&](int row, const QString& path, const QString& listed) {
        failures[row] << listed;
        qWarning().noquote() << "Not fixed:" << listed;
        QString reason = listed.mid(path.size()).trimmed();
        if (reason.startsWith(QLatin1Char('(')) && reason.endsWith(QLatin1Char(')')))
            reason = reason.mid(1, reason.size() - 2);
        const QString mark = reason.isEmpty() ? tr("ExifTool could not write it") : reason;
        marks.append({path, mark});
        model->refresh(path, {}, mark);
    };
    int finished = 0;
    // Until the last write is taken: the table then shows the run's end, and the questions after it.
    // Meanwhile only a failure's mark changes a row, so a paint a second is enough.
    std::optional<paint_pacer> pacer(std::in_place, ui->tableView, 1000);
    sync_pacer syncs;
    auto send = [&] {
        QElapsedTimer sync;
        sync.start();
        if (!unsent.isEmpty() && !journal->flush()) {
            for (const pending_write& write : qAsConst(unsent))
                fail(write.row, write.path, undo_journal::tr("%1 (its undo information could not be saved)").arg(write.path));
            unsent.clear();
        }
        if (!unsent.isEmpty())
            syncs.synced(sync.nsecsElapsed());
        for (pending_write& write : unsent) {
            QString reason;
            const file_identity loaded = cache->identity(write.path);
            const bool untouched = loaded.untouched(file_identity::of(write.path));
            write.link = write_link::make(write.path, loaded, &reason);
            if (!write.link) {
                fail(write.row, write.path, QStringLiteral("%1 (%2)").arg(write.path, reason));
                journal->written(write.path, false);
                continue;
            }
            // A file no one has touched since the load is held to its state as the link left it,
            // which ExifTool checks without reading the file; any other to the values it had.
            const file_identity linked = untouched ? file_identity::of(write.link->target()) : file_identity();
            if (linked.same_file(loaded) && linked.change_time_kept)
                write.response = ondo::exiftool::write_tags_async(
                    write.link->target(), write.values,
                    ondo::exif_file_state {linked.device, linked.inode, linked.size, linked.changed_ns});
            else
                write.response = ondo::exiftool::write_tags_async(write.link->target(), write.values, write.expected);
            pending.append(write);
            pending_bytes += write.size;
        }
        unsent.clear();
        unsent_bytes = 0;
    };
    auto finish_one = [&] {
        const pending_write write = pending.takeFirst();
        pending_bytes -= write.size;
        ondo::exif_error error = ondo::exif_error::none;
        file_identity after;
        const bool answered = ondo::exiftool::write_result(write.response, &error);
        // Where ExifTool had to put a new file in the link's place, the photo itself is as it was.
        const bool written = answered && write.link->landed(&after);
        // A child that ended in the middle of the write may have written the photo all the same,
        // so its old values are kept for the undo too.
        const bool kept = written || error == ondo::exif_error::ended;
        if (kept)
            undo_info.insert(write.path, write.undo);
        if (written) {
            if (write.sidecar)
                ++sidecars_written;
            else
                written_rows.insert(write.row);
            // Shown once the run is through: until the offset is cleared, the new times would be
            // moved again in the last column.
            written_values.append({write.path, write.values});
            note_unset_file_time(write.path, write.values, after);
        } else if (answered) {
            fail(write.row, write.path, tr("%1 (moved while ExifTool replaced it; its copy is kept beside it)").arg(write.path));
        } else if (error != ondo::exif_error::dropped) {
            fail(write.row, write.path, QStringLiteral("%1 (%2)").arg(write.path, failure_reason(write.path, error)));
        }
        // A write the stop dropped before any child had it is left, as rows after the stop are.
        journal->written(write.path, kept, after);
        end_stall_notice();
        // The bar counts photos: one is through when its file and its sidecars are.
        if (pending.isEmpty() || pending.first().row != write.row)
            ++finished;
        // Events between files, so that buttons work during the run.
        pacer->step(tavimo_progress_dialog, finished, run_clock.elapsed(), pending.isEmpty());
    };
    // A reset pressed between two files ends the run, and so does a stopped ExifTool.
    for (int row = 0; row < plan.size() && resets == resets_before && !run_ends(); ++row) {
        const QString path = plan[row].path;
        const QDateTime time = plan[row].time;
        const QDateTime new_time = plan[row].new_time;
        if (!time.isValid() || !new_time.isValid())
            continue;

        // Each time tag moves from its own value; the undo gives back what was there and deletes
        // what the run adds. The sidecars' dates move with the file's, each from its own value.
        QVector<pending_write> family;
        const exif_cache::entry& kept = cache->of(path);
        const exif_tag_map tags = kept.tags.unpacked();
        const exif_tag_map values = recording_tags::new_values(tags, time, new_time, model->shift_for(path));
        const bool own_time = !kept.record.value(QStringLiteral("rec_source")).isEmpty();
        family.append({row, path, false, recording_tags::undo_entries(tags, kept.record.unpacked(), values), values,
                       recording_tags::expected_before(tags, values, own_time), 0, nullptr, nullptr, nullptr});
        for (const QString& sidecar : model->sidecars(path)) {
            const exif_tag_map sidecar_tags = cache->of(sidecar).tags.unpacked();
            const exif_tag_map sidecar_values =
                recording_tags::sidecar_values(sidecar_tags, time, new_time, model->shift_for(path));
            if (!sidecar_values.empty())
                family.append({row, sidecar, true, recording_tags::sidecar_undo_entries(sidecar_tags, sidecar_values),
                               sidecar_values, recording_tags::expected_before(sidecar_tags, sidecar_values, true), 0,
                               nullptr, nullptr, nullptr});
        }

        // The whole family is checked before any of it is sent: space and locks first, then each
        // member's identity as it is journaled, the journaled ones backed out if one is refused.
        // A photo is written with its sidecars or not at all.
        bool refused_any = values.empty();
        if (values.empty())
            fail(row, path, tr("%1 (nothing to write)").arg(path));
        for (pending_write& member : family) {
            if (refused_any)
                break;
            const QFileInfo file(member.path);
            member.size = qMax(qint64(0), cache->identity(member.path).size);
            refused_any = true;
            if (file.isFile() && free_bytes(file.absolutePath()) < file.size()) {
                // ExifTool writes a whole copy before it replaces the photo's contents.
                fail(row, member.path, tr("%1 (not enough free space for ExifTool's copy)").arg(member.path));
            } else if (!(member.lock = photo_lock::try_lock(member.path))) {
                fail(row, member.path, undo_journal::tr("%1 (being changed by another copy of Tavimo)").arg(member.path));
            } else {
                refused_any = false;
            }
        }
        for (int journaled = 0; !refused_any && journaled < family.size(); ++journaled) {
            QStringList refused;
            if (!journal_before_write(family[journaled].path, family[journaled].undo, refused, false)) {
                fail(row, family[journaled].path, refused.join(QLatin1Char('\n')));
                for (int back = 0; back < journaled; ++back)
                    journal->written(family[back].path, false);
                refused_any = true;
            }
        }
        if (!refused_any) {
            for (const pending_write& member : qAsConst(family)) {
                unsent.append(member);
                unsent_bytes += member.size;
            }
        }
        if (unsent.size() >= syncs.group || unsent_bytes >= bytes_ahead / 2)
            send();
        while (!pending.isEmpty() && (pending.size() >= syncs.ahead() || pending_bytes >= bytes_ahead))
            finish_one();
    }
    // A stop leaves the photos whose writes were not sent yet as they are.
    if (run_ends()) {
        for (const pending_write& write : qAsConst(unsent))
            journal->written(write.path, false);
        unsent.clear();
    }
    send();
    while (!pending.isEmpty())
        finish_one();
    pacer.reset();
    // The table keeps its photos, now with the times written, so that the result can be checked
    // and a second correction can follow at once; the offset starts again from nothing.
    for (const auto& [path, values] : qAsConst(written_values)) {
        model->refresh(path, values);
        // The file the write left is the one a second correction must find.
        if (model->holds(path))
            cache->set_identity(path, journal->loaded_identity(path));
    }
    written_values.clear();
    for (const auto& [path, mark] : qAsConst(marks))
        model->refresh(path, {}, mark);
    ui->widget_time_adjust->clear();
    // The rows now show the corrected times: no camera is off any more.
    model->offsets->clear_corrections();
    model->resort();
    cameras_changed();
    QStringList failed_files;
    for (const QStringList& listed : qAsConst(failures))
        failed_files << listed;
    // A row counts as written when its file and all of its sidecars were.
    for (auto failed = failures.keyBegin(); failed != failures.keyEnd(); ++failed)
        written_rows.remove(*failed);
    const int written_count = int(written_rows.size());
    const int failed_count = int(failures.size());
    // Skipped rows at the end leave the bar short of its maximum, where it would stay up.
    tavimo_progress_dialog->reset();
    // Before the question: an undo chosen there puts its own note in place of this one.
    // Every photo of the run is counted once: written, failed, or left as it was.
    note->show_after_fix(written_count, failed_count, plan.size() - written_count - failed_count, sidecars_written);
    qInfo().noquote() << QStringLiteral("Fix run ended: %1 written, %2 failed, %3 left as they were%4, in %5 s")
                             .arg(written_count)
                             .arg(failed_count)
                             .arg(plan.size() - written_count - failed_count)
                             .arg(sidecars_written > 0 ? QStringLiteral(", %1 sidecars written").arg(sidecars_written)
                                                       : QString())
                             .arg(run_clock.elapsed() / 1000.0, 0, 'f', 1);

    // A program that is quitting asks nothing more.
    if (!failed_files.isEmpty() && !quitting) {
        const auto answer = ondo::message_box::question(ui->centralWidget, tr("Continue?"),
            tr("The following %n files could not be fixed:\n%1\n\n Do you want to keep the changes in the other files",
               nullptr, failed_files.size())
                .arg(failed_files.join(QLatin1Char('\n'))),
            tr("Keep changes"), tr("Undo Changes"), QMessageBox::NoButton);
        if (answer == QMessageBox::No)
            on_button_undo_clicked();
    }
    button_undo->setEnabled(!undo_info.isEmpty());
    end_journal_run();
}

void MainWindow::note_unset_file_time(const QString& path, const exif_tag_map& values, const file_identity& left)
{
    const auto written = values.find(QStringLiteral("System:FileModifyDate"));
    if (written == values.end())
        return;
    const QDateTime wanted = recording_tags::moment(written->second);
    // The write's own look at the file, where it had one: a run would look once more per photo.
    const QDateTime kept = left.type == file_identity::regular
        ? QDateTime::fromMSecsSinceEpoch(left.modified_ns / 1000000, Qt::UTC)
        : QFileInfo(path).lastModified();
    // FAT keeps file times to two seconds.
    if (wanted.isValid() && qAbs(kept.secsTo(wanted)) > 2)
        qInfo().noquote() << QStringLiteral("The file system did not take the file time %1 for %2; it shows %3. The "
                                            "photo's metadata holds its time all the same.")
                                 .arg(wanted.toString(Qt::ISODate), path, kept.toString(Qt::ISODate));
}

QString MainWindow::offsets_for_log() const
{
    const recording_tags::shift& offset = model->offsets->panel();
    QString text = QStringLiteral("offset %1 y %2 mo %3 d %4 h %5 min %6 s, zone %7")
                       .arg(offset.years)
                       .arg(offset.months)
                       .arg(offset.days)
                       .arg(offset.hours)
                       .arg(offset.minutes)
                       .arg(offset.seconds)
                       .arg(offset.has_zone ? entered_zone::text(qRound(offset.zone * 60)) : QStringLiteral("none"));
    QStringList corrections;
    for (const QString& camera : model->offsets->corrected())
        corrections << model->camera_name(camera) + QStringLiteral(" ") + camera_clocks::correction_text(model->offsets->correction(camera));
    corrections.sort();
    if (!corrections.isEmpty())
        text += QStringLiteral(", corrections: ") + corrections.join(QStringLiteral("; "));
    return text;
}

void MainWindow::on_button_undo_clicked()
{
    const run_guard guard(this);
    stop_requested = false;
    model->clear_failures();
    // The label the stall notice goes back to, too.
    const QString fixing = tavimo_progress_dialog->property("plain_label").toString();
    tavimo_progress_dialog->setProperty("plain_label", tr("Undoing…"));
    tavimo_progress_dialog->setLabelText(tr("Undoing…"));
    tavimo_progress_dialog->setRange(0, undo_info.size());
    tavimo_progress_dialog->setValue(0);
    QCoreApplication::processEvents();
    QElapsedTimer run_clock;
    run_clock.start();
    show_pace(tavimo_progress_dialog, 0, 0);
    qInfo().noquote() << QStringLiteral("Undo run: %1 files").arg(undo_info.size());

    // As in the fix run: writes go out a few files ahead and are taken back in order.
    struct pending_undo {
        QString path;
        exif_tag_map values;
        ondo::exif_response* response;
        std::shared_ptr<photo_lock> lock;
        std::shared_ptr<write_link> link;
    };
    QList<pending_undo> pending;
    QStringList failed_files;
    // Photos whose times someone changed after the fix: not overwritten without asking.
    QStringList changed_since;
    int done = 0;
    // Ends with the last write taken, as the fix's does.
    std::optional<paint_pacer> pacer(std::in_place, ui->tableView, 1000);
    int restored_count = 0;
    // After the undo's write through `link` has landed in the photo.
    auto restored = [&](const QString& path, write_link& link, const exif_tag_map& values) {
        // A sidecar is part of its photo, which is counted.
        if (model->owner_of(path).isEmpty())
            ++restored_count;
        // ExifTool sets file times to the second: the fraction the load saw goes back on.
        const auto file_time = values.find(QStringLiteral("System:FileModifyDate"));
        if (file_time != values.end() && !file_time->second.isEmpty())
            file_identity::restore_modified_time(link.target(), journal->loaded_modified_ns(path));
        undo_info.remove(path);
        model->refresh(path, values);
        // The file as the undo left it, its time's fraction included, is the one a next
        // correction must find.
        file_identity after;
        if (model->holds(path) && link.landed(&after)) {
            const file_identity now = file_identity::of(link.target());
            exif_cache::instance()->set_identity(path, now.type == file_identity::regular ? now : after);
        }
    };
    auto finish_one = [&] {
        const pending_undo write = pending.takeFirst();
        ondo::exif_error error = ondo::exif_error::none;
        file_identity after;
        // What could not be written back stays, so that the undo can be tried again.
        if (ondo::exiftool::write_result(write.response, &error) && write.link->landed(&after)) {
            restored(write.path, *write.link, write.values);
        } else if (error == ondo::exif_error::changed) {
            changed_since << write.path;
        } else {
            failed_files << write.path;
            model->refresh(write.path, {}, tr("the undo could not write it"));
        }
        end_stall_notice();
        ++done;
        pacer->step(tavimo_progress_dialog, done, run_clock.elapsed(), pending.isEmpty());
    };
    const QStringList paths = undo_info.keys();
    for (const QString& path : paths) {
        if (run_ends())
            break;
        // An empty value deletes the tag: that is how tags the run added go away again.
        const exif_tag_map tags = recording_tags::undo_values(undo_info.value(path).entries());
        std::shared_ptr<photo_lock> lock = photo_lock::try_lock(path);
        if (!lock) {
            failed_files << undo_journal::tr("%1 (being changed by another copy of Tavimo)").arg(path);
            tavimo_progress_dialog->setValue(++done);
        } else {
            // A path that is no longer the file the fix left is listed with its reason.
            QString reason;
            if (const std::shared_ptr<write_link> link = write_link::make(path, journal->loaded_identity(path), &reason)) {
                // A photo whose write was cut short before it landed still holds its old values:
                // writing them again changes nothing, and is no newer change to ask about.
                const QList<undo_entry> entries = undo_info.value(path).entries();
                pending.append({path, tags,
                                ondo::exiftool::write_tags_async(link->target(), tags, recording_tags::expected_after(entries),
                                                                 recording_tags::expected_after(entries, true)),
                                lock, link});
            } else {
                failed_files << QStringLiteral("%1 (%2)").arg(path, reason);
                model->refresh(path, {}, reason);
                tavimo_progress_dialog->setValue(++done);
            }
        }
        if (pending.size() >= writes_ahead)
            finish_one();
    }
    while (!pending.isEmpty())
        finish_one();
    pacer.reset();

    // A program that is quitting asks nothing: their undo information stays for the next start.
    if (!changed_since.isEmpty() && !quitting) {
        constexpr int shown_lines = 20;
        QStringList lines = changed_since.mid(0, shown_lines);
        if (changed_since.size() > shown_lines)
            lines << undo_journal::tr("… and %n more", nullptr, changed_since.size() - shown_lines);
        const auto answer = ondo::message_box::question(ui->centralWidget, tr("Undo"),
            tr("The times of %n photos have been changed since the fix, by another program or by hand:\n%1\n\n"
               "Undo can overwrite those changes with the times from before the fix, or leave these photos as they are now.",
               nullptr, int(changed_since.size()))
                .arg(lines.join(QLatin1Char('\n'))),
            tr("Overwrite"), tr("Leave them"), QMessageBox::NoButton);
        for (const QString& path : qAsConst(changed_since)) {
            const exif_tag_map tags = recording_tags::undo_values(undo_info.value(path).entries());
            if (answer == QMessageBox::No) {
                undo_info.remove(path);
                model->refresh(path, {}, tr("changed since the fix, left as it is"));
                continue;
            }
            const auto lock = photo_lock::try_lock(path);
            QString reason = tr("the undo could not write it");
            const std::unique_ptr<write_link> link = lock ? write_link::make(path, journal->loaded_identity(path), &reason) : nullptr;
            file_identity after;
            if (!lock) {
                failed_files << undo_journal::tr("%1 (being changed by another copy of Tavimo)").arg(path);
            } else if (link && ondo::exiftool::write_tags(link->target(), tags) && link->landed(&after)) {
                restored(path, *link, tags);
            } else {
                failed_files << QStringLiteral("%1 (%2)").arg(path, reason);
                model->refresh(path, {}, reason);
            }
        }
    }

    tavimo_progress_dialog->reset();
    tavimo_progress_dialog->setProperty("plain_label", fixing);
    tavimo_progress_dialog->setLabelText(fixing);
    model->rows_changed();
    button_undo->setEnabled(!undo_info.isEmpty());
    note->show_after_undo(restored_count, int(failed_files.size()));
    for (const QString& failed : qAsConst(failed_files))
        qWarning().noquote() << "Not undone:" << failed;
    qInfo().noquote() << QStringLiteral("Undo run ended: %1 restored, %2 failed, in %3 s")
                             .arg(restored_count)
                             .arg(failed_files.size())
                             .arg(run_clock.elapsed() / 1000.0, 0, 'f', 1);
    cameras_changed();
    if (!failed_files.isEmpty() && !quitting)
        ondo::message_box::warning(ui->centralWidget, tr("Undo"),
            tr("The following %n files could not be restored:\n%1\n\nTheir old times are kept: press undo again to retry.",
               nullptr, int(failed_files.size()))
                .arg(failed_files.join(QLatin1Char('\n'))));
}
