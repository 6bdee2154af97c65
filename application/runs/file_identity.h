#pragma once

#include <ondo/exiftool.h>

#include <QString>
#include <QStringList>
#include <QtGlobal>

// What a path stood for when it was looked at: which file (device and inode), what kind of
// entry, and whether the path itself was a symbolic link. A write goes only to the file the user
// loaded; a path that has since become a folder, a link or another file is left alone.
struct file_identity {
    enum kind { missing, regular, directory, other };

    quint64 device = 0;
    quint64 inode = 0;
    kind type = missing;
    bool link = false;
    // False on FAT and exFAT cards: there a file's inode number goes with the spelling of its name
    // and with the kernel's memory of it, so that the number can't tell the file.
    bool inode_kept = true;
    // True where every change to a file moves its change time (ctime), which no program can set
    // back: ext4, btrfs, XFS, tmpfs and the like, not FAT, exFAT, FUSE or network shares.
    bool change_time_kept = false;
    // The file's state at that moment, for telling whether anyone changed it afterwards.
    qint64 size = -1;
    qint64 modified_ns = 0;
    qint64 changed_ns = 0;

    // The path as it stands now; device, inode, kind, size and time are those of the file a
    // link leads to, `link` says whether the path is one. A path that can't be looked at is missing.
    static file_identity of(const QString& path);

    // True when `now` is still the regular file seen here, reached the same way (through a link
    // only if it was one then). Size and time don't count: a write changes them. Where the file
    // system keeps no inode numbers, the device stands for the file: the write's own condition
    // on the file's values then tells whether it is the photo.
    bool same_file(const file_identity& now) const;
    // same_file, and neither size nor modification time moved.
    bool unchanged(const file_identity& now) const;
    // unchanged, and provably so: the change time stands still on a file system that keeps it.
    // Nothing, not even a program that puts the modification time back, has touched the file.
    bool untouched(const file_identity& now) const;

    // Kept in a per-file record under "file_device", "file_inode", "file_type", "file_link",
    // "file_size", "file_modified_ns" and "file_changed_ns"; a record without the first four gives
    // a missing file, to which nothing is ever written, and one without the last three an unknown
    // size (-1) and times (0).
    void store(exif_tag_map& record) const;
    static file_identity from_record(const exif_tag_map& record);

    // Gives the regular file at `path` the modification time `modified_ns` (nanoseconds since
    // the epoch), its access time left alone, but only while its present time lies in the same
    // whole second: ExifTool sets file times to the second, and this adds back the fraction it
    // dropped without ever moving a time that someone else set. A link is followed. True when the
    // time was set, or when `modified_ns` has no fraction (nothing is done); false when the path
    // is no regular file, its time lies in another second, or the time can't be set.
    static bool restore_modified_time(const QString& path, qint64 modified_ns);

    // `paths` with each name spelt as its folder holds it, where the folder has no name of that
    // exact spelling and one that differs only in case: a FAT card opens "IMG_1.JPG" for
    // "img_1.jpg". Through FUSE each spelling is a file of its own to the kernel, whose cached
    // contents a write under the other spelling doesn't reach, and ExifTool's fallback of
    // renaming its copy over a photo would rename the photo to the spelling it was given.
    static QStringList as_stored(const QStringList& paths);

    static QString kind_name(kind type);
    static kind kind_from_name(const QString& name);
};
