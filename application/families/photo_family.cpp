#include "photo_family.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

namespace {

QString base_of(const QString& name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.left(dot) : name;
}

QString folder_of(const QString& path)
{
    return QFileInfo(path).absolutePath();
}

QString in_folder(const QString& folder, const QString& name)
{
    return folder + QLatin1Char('/') + name;
}

} // namespace

photo_family::kind photo_family::kind_of(const QString& path)
{
    static const QSet<QString> raws = {"3fr", "arw", "cr2", "cr3", "crw", "dcr", "dng", "erf", "gpr", "iiq",
                                       "kdc", "mef", "mos", "mrw", "nef", "nrw", "orf", "pef", "raf", "raw",
                                       "rw2", "rwl", "sr2", "srf", "srw", "x3f"};
    static const QSet<QString> stills = {"jpg", "jpeg", "jpe", "heic", "heif", "hif"};
    static const QSet<QString> movies = {"mov", "mp4", "qt"};
    const QString name = QFileInfo(path).fileName();
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0)
        return other;
    const QString extension = name.mid(dot + 1).toLower();
    if (extension == QLatin1String("xmp"))
        return sidecar;
    if (raws.contains(extension))
        return raw;
    if (stills.contains(extension))
        return still;
    if (movies.contains(extension))
        return movie;
    return other;
}

const photo_family::folder_names& photo_family::folder(const QString& path)
{
    const QString dir = folder_of(path);
    auto found = folders.find(dir);
    if (found != folders.end())
        return *found;
    folder_names listing;
    // Hidden files are no photos, and a folder named like a sidecar is none.
    for (const QString& name : QDir(dir).entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort)) {
        listing.names.insert(name.toLower(), name);
        listing.bases[base_of(name).toLower()].append(name);
    }
    return *folders.insert(dir, listing);
}

QStringList photo_family::sidecars_of(const QString& path)
{
    if (kind_of(path) == sidecar)
        return {};
    const folder_names& listing = folder(path);
    const QString dir = folder_of(path);
    const QString name = QFileInfo(path).fileName();
    QStringList found;
    const QString shared = listing.names.value(base_of(name).toLower() + QLatin1String(".xmp"));
    if (!shared.isEmpty() && image_of(in_folder(dir, shared)) == path)
        found << in_folder(dir, shared);
    const QString own = listing.names.value(name.toLower() + QLatin1String(".xmp"));
    if (!own.isEmpty())
        found << in_folder(dir, own);
    return found;
}

QString photo_family::image_of(const QString& sidecar_path)
{
    if (kind_of(sidecar_path) != sidecar)
        return {};
    const folder_names& listing = folder(sidecar_path);
    const QString dir = folder_of(sidecar_path);
    const QString described = base_of(QFileInfo(sidecar_path).fileName());
    // "IMG_1.CR3.xmp" names its image in full.
    const QString named = listing.names.value(described.toLower());
    if (!named.isEmpty() && kind_of(named) != sidecar)
        return in_folder(dir, named);
    // "IMG_1.xmp": the RAW of that base, which raw developers keep it for, else the still of a
    // Live Photo, else the one file of that base.
    QStringList images;
    for (const QString& name : listing.bases.value(described.toLower()))
        if (kind_of(name) != sidecar)
            images << name;
    images.sort();
    for (const kind preferred : {raw, still})
        for (const QString& name : qAsConst(images))
            if (kind_of(name) == preferred)
                return in_folder(dir, name);
    return images.size() == 1 ? in_folder(dir, images.first()) : QString();
}

QStringList photo_family::companions_of(const QString& path)
{
    const kind own = kind_of(path);
    if (own != raw && own != still && own != movie)
        return {};
    const QString dir = folder_of(path);
    const QString name = QFileInfo(path).fileName();
    QStringList found;
    for (const QString& other_name : folder(path).bases.value(base_of(name).toLower())) {
        if (other_name == name)
            continue;
        const kind theirs = kind_of(other_name);
        const bool together = (own == raw && theirs == still) || (own == still && (theirs == raw || theirs == movie))
            || (own == movie && theirs == still);
        if (together)
            found << in_folder(dir, other_name);
    }
    found.sort();
    return found;
}

QStringList photo_family::rows_of(const QStringList& paths)
{
    QStringList rows;
    QSet<QString> seen;
    for (const QString& path : paths) {
        const QString image = image_of(path);
        const QString row = image.isEmpty() ? path : image;
        if (!seen.contains(row)) {
            seen.insert(row);
            rows << row;
        }
    }
    return rows;
}
