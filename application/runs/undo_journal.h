#pragma once

#include "file_identity.h"
#include "mainwindow.h"

#include <QList>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QLockFile;

// The undo information of the fix run under way, kept on disk so that it outlives a crash. Each
// photo's old values are written and flushed before its write goes out; a run that ends as it
// should takes its file away again. The next start finds what a run left behind and can give it
// back. One file per run, each under a lock that its program holds while it lives, so that two
// programs never take each other's runs.
class undo_journal : public QObject {
    Q_OBJECT
public:
    // The runs are kept in `folder`, made when needed.
    explicit undo_journal(const QString& folder, QObject* parent = nullptr);
    // A run still under way stays on disk for the next start.
    ~undo_journal() override;

    // The user's state folder: the application's local data folder, "undo" in it.
    static QString default_folder();

    // Starts the file of a new run; the last run's photos are forgotten. False when the file
    // can't be made; every add() then fails as well. Each call is matched by one end_run().
    bool begin_run();
    // Before the write of `path`: what the load saw of it and what gives its times back, on
    // disk. False when that could not be flushed; the write must then not be sent. Without
    // `flush`, flush() must succeed before the write goes out.
    bool add(const QString& path, const file_identity& loaded, const QList<undo_entry>& undo, bool flush = true);
    // Puts what add() wrote on disk; false when it can't.
    bool flush();
    // After the write of `path`: a success records the state the write left, so that a later
    // start sees whether anyone changed the photo since; a failure takes it out of the run.
    // `left` is the file the write left, as seen through the name the write went to; without it
    // the path is looked at now.
    void written(const QString& path, bool success, const file_identity& left = file_identity());
    // The run is over and the user has kept it or undone it: its file goes, and what the load
    // saw of its photos stays known for the undo button.
    void end_run();

    // The file the undo of a photo of the last run (or of an adopted one) must find: the one its
    // write left, or before the write is confirmed, the one the load saw; missing otherwise.
    file_identity loaded_identity(const QString& path) const;
    // The modification time, in nanoseconds, that the load saw of a photo of the last run (or of
    // an adopted one), which its undo gives back; 0 when unknown. Unlike loaded_identity(), a
    // confirmed write doesn't replace it.
    qint64 loaded_modified_ns(const QString& path) const;

    // A run that its program left behind without ending it.
    struct unfinished_run {
        QString file;
        // False when the file doesn't read as a journal: nothing of it is applied then.
        bool readable = false;
        // The photos whose tags no longer hold the old values, which the run had written, with
        // what gives their times back. Only these are ever written by its undo.
        QMap<QString, QList<undo_entry>> undo;
        QMap<QString, file_identity> loaded;
        // The state that a confirmed write left, of the photos in `undo` that have one.
        QMap<QString, file_identity> left;
        // Photos the run had journaled but not written: they still hold every old value.
        QStringList untouched;
        // Photos that are no longer what the run left; a run with any is not applied.
        QStringList changed;
        // One line per photo for the user, the changed ones first.
        QStringList listing;
        std::shared_ptr<QLockFile> lock;
    };
    // The left-behind runs in the folder whose programs have ended, oldest first; each is
    // locked for this program until it is adopted, kept or discarded. Each photo's present tags
    // are read with ExifTool, and a photo that still holds its old values counts as untouched.
    // Runs without photos, and runs that changed none of them (logged), are removed.
    QList<unfinished_run> unfinished_runs();
    // Takes the run's photos as those of the last run, for an undo; keep() or discard() it after
    // the undo.
    QMap<QString, QList<undo_entry>> adopt(const unfinished_run& run);
    // After its undo: the run's file keeps `paths` alone, the photos the undo could not restore,
    // for the next start, and stays locked while this program runs; with no paths it is removed.
    // False when the file could not be rewritten: it then stays as it was.
    bool keep(const unfinished_run& run, const QStringList& paths);
    // Removes the run's file: its photos stay as they are.
    void discard(const unfinished_run& run);

private:
    // One line; with `flush`, on the disk before it returns.
    bool append(const QByteArray& line, bool flush = true);
    void close_run();

    QString folder;
    QString run_file;
    int descriptor = -1;
    int runs_open = 0;
    std::shared_ptr<QLockFile> run_lock;
    // Per photo of the run: the file its undo must find, and its modification time at load.
    struct journaled_photo {
        file_identity identity;
        qint64 modified_ns = 0;
    };
    QHash<QString, journaled_photo> loaded;
    // The locks of runs kept for the next start: no other program takes them while this one runs.
    QList<std::shared_ptr<QLockFile>> kept_locks;
};
