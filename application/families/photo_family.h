#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// Which files of a folder make one photo: an image with its XMP sidecars ("IMG_1.xmp" and
// "IMG_1.CR3.xmp"), a RAW with the JPEG or HEIC taken with it, a still with the movie of a Live or
// Motion Photo. Names match without regard to case, as cameras and card readers spell them
// either way. Each folder is listed once, when first asked about; make a new one for each load or
// run, so that it sees the folders as they are.
class photo_family {
public:
    enum kind { other, raw, still, movie, sidecar };
    static kind kind_of(const QString& path);

    // The sidecars of `path` that exist: "dir/base.ext.xmp", and "dir/base.xmp" where image_of()
    // gives `path` for it: a sidecar describes one photo, and is moved once.
    QStringList sidecars_of(const QString& path);
    // The image in the folder whose sidecar `path` is; empty for an XMP file that stands alone.
    QString image_of(const QString& sidecar_path);
    // The files of the folder that belong with `path` but are not its sidecars: a RAW's JPEG or
    // HEIC, a still's RAW and its movie, a movie's still.
    QStringList companions_of(const QString& path);

    // What a load of `paths` makes rows of: an XMP file whose image is in its folder stands for
    // that image, which is loaded in its place, once.
    QStringList rows_of(const QStringList& paths);

private:
    struct folder_names {
        // Lower-case name to the name as stored.
        QHash<QString, QString> names;
        // Lower-case base name (the name without its last extension) to the names that have it.
        QHash<QString, QStringList> bases;
    };
    const folder_names& folder(const QString& path);
    QHash<QString, folder_names> folders;
};
