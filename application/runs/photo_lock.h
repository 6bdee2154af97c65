#pragma once

#include <QString>

#include <memory>

// Keeps other running copies of Tavimo away from one photo while this one changes it: held from
// before a write goes to ExifTool until its answer is taken. Only copies of Tavimo ask for it;
// other programs are kept away by ExifTool's check of what the photo still holds.
class photo_lock {
public:
    // The lock of `path` for as long as the result lives; null, at once, when another copy holds
    // it (or this one does, through another lock). The locks live in `folder`, made when needed.
    // When that folder can't be used, a warning is logged once and a lock that keeps no one away
    // is given: the program then works as one copy alone does, rather than refusing every photo.
    static std::unique_ptr<photo_lock> try_lock(const QString& path, const QString& folder = default_folder());
    ~photo_lock();
    photo_lock(const photo_lock&) = delete;
    photo_lock& operator=(const photo_lock&) = delete;

    // The user's state folder: the application's local data folder, "locks" in it.
    static QString default_folder();

private:
    explicit photo_lock(int descriptor) : descriptor(descriptor) {}

    int descriptor = -1;
};
