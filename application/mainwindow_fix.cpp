// The fix run, its undo information and the undo run of MainWindow.
#include "mainwindow.h"

#include "run_note.h"
#include "table_data_model.h"
#include "ui_mainwindow.h"

#include <ondo/button_dark.h>
#include <ondo/exiftool.h>
#include <ondo/message_box.h>
#include <ondo/progress_dialog.h>

#include <QCoreApplication>
#include <QVector>

#include <algorithm>
#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

namespace {

const QString file_time_format = QStringLiteral("yyyy:MM:dd hh:mm:ss");

// IPTC:TimeCreated is read as a time alone but written as a date and time, so the old value is
// rebuilt on the recording date. A stored zone such as "+02:00" doesn't convert to a number and
// comes back as +00:00; a file without a zone gets the machine's zone. Undo can't remove a zone.
QString rebuilt_time_created(const exif_tag_map& record, QString text)
{
    auto value = [&record](const char* key) {
        const auto found = record.find(QString::fromLatin1(key));
        return found == record.end() ? QString() : found->second;
    };
    const QDate date(value("rec_year").toInt(), value("rec_month").toInt(), value("rec_day").toInt());
    const QString zone = value("iptc_timezone");
    const int hours = zone.toInt(nullptr, 10);

    int sign = text.lastIndexOf(QLatin1Char('+'));
    if (sign < 0)
        sign = text.lastIndexOf(QLatin1Char('-'));
    if (sign >= 0)
        text.truncate(sign);
    const QTime time = QTime::fromString(text, QStringLiteral("hh:mm:ss"));

    const QDateTime when(date, time, zone.isEmpty() ? Qt::LocalTime : Qt::OffsetFromUTC, hours * 3600);
    return when.toString(file_time_format)
        + format_utc_offset(float(when.timeZone().offsetFromUtc(when) / 3600.0));
}

// ExifTool keeps a tag in one EXIF directory only: writing ExifIFD:DateTimeOriginal drops an
// IFD0:DateTimeOriginal beside it. Such copies are written along with the tag, so that they keep
// step with it and an undo can give them back.
QStringList exif_copies(const exif_tag_map& tags, const QString& tag)
{
    static const QRegularExpression exif_directory(
        QStringLiteral("^(IFD\\d+|ExifIFD|SubIFD\\d*|InteropIFD|GlobParamIFD)$"));
    const QString group = tag.section(QLatin1Char(':'), 0, 0);
    const QString name = tag.section(QLatin1Char(':'), 1);
    QStringList copies;
    if (!exif_directory.match(group).hasMatch())
        return copies;
    for (const auto& entry : tags) {
        const QString other_group = entry.first.section(QLatin1Char(':'), 0, 0);
        if (other_group != group && entry.first.section(QLatin1Char(':'), 1) == name
            && exif_directory.match(other_group).hasMatch())
            copies << entry.first;
    }
    return copies;
}

} // namespace

MainWindow::run_guard::run_guard(MainWindow* window) : window(window) { ++window->runs_under_way; }

MainWindow::run_guard::~run_guard()
{
    if (--window->runs_under_way == 0 && window->delete_after_run)
        window->deleteLater();
}

QList<undo_entry> MainWindow::create_undo_info(const QString& path)
{
    const auto cache = exif_cache::instance();
    const exif_tag_map record = cache->file_data[path];
    const exif_tag_map tags = cache->file_tags[path];

    QList<undo_entry> entries;
    for (const QString& tag : time_tags(record)) {
        undo_entry entry{tag, false, QString()};
        const auto found = tags.find(tag);
        if (found != tags.end()) {
            entry.existed = true;
            entry.value = tag == QLatin1String("IPTC:TimeCreated") ? rebuilt_time_created(record, found->second)
                                                                   : found->second;
        }
        entries << entry;
    }
    return entries;
}

void MainWindow::on_button_fix_time_clicked()
{
    const auto cache = exif_cache::instance();
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
    for (int row = 0; row < model->rowCount(); ++row) {
        auto cell = [this, row](int column) { return model->data(model->index(row, column), Qt::UserRole); };
        plan.append({cell(0).toString(), cell(1).toDateTime(), cell(2).toDateTime()});
    }

    // Nothing is written before the questions are through, so "Abort" leaves everything as it was.
    // With a zone entered only CR3 files are asked about; without one, missing zones and 1972.
    if (model->has_timezone) {
        const auto cr3_files = std::count_if(plan.begin(), plan.end(), [](const planned_file& file) {
            return file.path.endsWith(QLatin1String(".cr3"), Qt::CaseInsensitive);
        });
        if (cr3_files >= 1
            && !ask(tr("Trying to alter/set timezone of %n CR3 images.\nThe CR3 format does not support timezone information.\nAll other values except the timezone will work normally.",
                        nullptr, int(cr3_files))))
            return;
    } else {
        const QDateTime bound(QDate(1972, 1, 1), QTime(0, 0, 0, 0), Qt::LocalTime);
        int early_files = 0;
        int zoneless_files = 0;
        for (const planned_file& file : plan) {
            if (file.new_time.isValid() && file.new_time < bound)
                ++early_files;
            if (file.time.isValid() && file.new_time.isValid()) {
                const exif_tag_map tags = cache->file_tags[file.path];
                exif_tag_map record = cache->file_data[file.path];
                if ((tags.count(QStringLiteral("IPTC:DateCreated")) || tags.count(QStringLiteral("IPTC:TimeCreated")))
                    && record[QStringLiteral("iptc_timezone")].isEmpty())
                    ++zoneless_files;
            }
        }
        if (zoneless_files > 0
            && !ask(tr("%n files do not have any timezone information set and you have not specified a timezone to use.\nIf you continue, your computer's local timezone will be used.\n\nWarning: Adding the timezone to an image can not be undone.",
                        nullptr, zoneless_files)))
            return;
        if (early_files > 0
            && !ask(tr("%n files would be assigned a recording time prior to the 1st of January 1972 00:00:00.\nThe file system time can't be altered to times before this point.\nIf you continue, the files' date/time according to your operating system might not be correct (i.e. displayed as a date in the future or simply stuck at the 1st of January 1972).\nThe EXIF timestamps can handle this situation and dates prior to the 1st of January 1972 00:00:00 will be saved correctly.",
                        nullptr, early_files)))
            return;
    }

    const run_guard guard(this);
    const int resets_before = resets;

    // Only the last run can be undone.
    undo_info.clear();
    button_undo->setEnabled(false);
    tavimo_progress_dialog->setRange(0, plan.size());
    tavimo_progress_dialog->setValue(0);
    QCoreApplication::processEvents();

    QStringList failed_files;
    // A reset pressed between two files ends the run.
    for (int row = 0; row < plan.size() && resets == resets_before; ++row) {
        const QString path = plan[row].path;
        const QDateTime time = plan[row].time;
        const QDateTime new_time = plan[row].new_time;
        if (!time.isValid() || !new_time.isValid())
            continue;

        QList<undo_entry> undo = create_undo_info(path);
        exif_tag_map record = cache->file_data[path];
        const exif_tag_map tags = cache->file_tags[path];
        const QString file_zone = record[QStringLiteral("iptc_timezone")];
        const QString new_time_text = new_time.toString(file_time_format);
        // The entered zone relabels the clock reading; it never moves it.
        const QString new_time_zone_text = new_time_text
            + format_utc_offset(float(double(utc_offset_hours(file_zone)) + model->offset_timezone));
        const bool zoned = model->has_timezone || !file_zone.isEmpty();

        exif_tag_map values;
        for (const QString& tag : time_tags(record)) {
            const bool present = tags.count(tag) > 0;
            if (tag.startsWith(QLatin1String("IPTC:"))) {
                // The only tags a run may add to a file.
                if (present)
                    values[tag] = zoned ? new_time_zone_text : new_time_text;
                else if (model->has_timezone)
                    values[tag] = new_time_zone_text;
            } else if (tag.startsWith(QLatin1String("System:"))) {
                if (present)
                    values[tag] = zoned ? new_time_zone_text : new_time_text;
            } else if (present) {
                values[tag] = new_time_text;
            }
        }

        const exif_tag_map chosen = values;
        for (const auto& [tag, text] : chosen) {
            for (const QString& copy : exif_copies(tags, tag)) {
                if (values.emplace(copy, text).second)
                    undo << undo_entry{copy, true, tags.at(copy)};
            }
        }
        // The undo deletes a tag only if this run added it; a delete of a tag the file never
        // had would make ExifTool refuse files it can't write, and create empty records.
        undo.erase(std::remove_if(undo.begin(), undo.end(),
                                  [&values](const undo_entry& entry) { return !entry.existed && !values.count(entry.tag); }),
                   undo.end());

        if (ondo::exiftool::write_tags(path, values))
            undo_info.insert(path, undo);
        else
            failed_files << path;

        tavimo_progress_dialog->setValue(row + 1);
        QCoreApplication::processEvents();
    }
    // Skipped rows at the end leave the bar short of its maximum, where it would stay up.
    tavimo_progress_dialog->reset();
    // Before the question: an undo chosen there puts its own note in place of this one.
    note->show_after_fix(undo_info.size(), failed_files.size());

    if (!failed_files.isEmpty()) {
        const auto answer = ondo::message_box::question(ui->centralWidget, tr("Continue?"),
            tr("The following %n files could not be fixed:\n%1\n\n Do you want to keep the changes in the other files",
               nullptr, failed_files.size())
                .arg(failed_files.join(QLatin1Char('\n'))),
            tr("Keep changes"), tr("Undo Changes"), QMessageBox::NoButton);
        if (answer == QMessageBox::No)
            on_button_undo_clicked();
    }
    button_undo->setEnabled(!undo_info.isEmpty());
    on_button_reset_clicked();
}

void MainWindow::on_button_undo_clicked()
{
    const run_guard guard(this);
    tavimo_progress_dialog->setRange(0, undo_info.size());
    tavimo_progress_dialog->setValue(0);
    QCoreApplication::processEvents();

    int done = 0;
    int not_restored = 0;
    const QStringList paths = undo_info.keys();
    for (const QString& path : paths) {
        // An empty value deletes the tag: that is how tags the run added go away again.
        exif_tag_map tags;
        for (const undo_entry& entry : undo_info.value(path))
            tags[entry.tag] = entry.value;
        if (!ondo::exiftool::write_tags(path, tags))
            ++not_restored;
        tavimo_progress_dialog->setValue(++done);
        QCoreApplication::processEvents();
    }

    tavimo_progress_dialog->reset();
    undo_info.clear();
    button_undo->setEnabled(false);
    note->show_after_undo(done - not_restored, not_restored);
}
