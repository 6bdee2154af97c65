#pragma once

#include "file_identity.h"

#include <QString>

#include <memory>

// A second, private name of a photo for as long as ExifTool writes it. ExifTool opens the path it
// is given three times: to check the write's condition, to make its copy, and to copy that copy
// back into the photo. A file manager that renames files in between would put another photo under
// one of those opens, which then gets this photo's time or its whole contents. The link names the
// photo's own file throughout, whatever happens to its name; it is a hidden name beside the photo,
// ".tavimo-<pid>-<n>-<name>", and goes again when the write is done.
class write_link {
public:
    // The link for `path`, made only if `path` still names the file of `expected` (device and
    // inode), with no leftover of an earlier write beside it. Where the file system keeps no hard
    // links (FAT, exFAT), the photo's own path stands in. Null, with `reason`, when it may not be
    // written.
    static std::unique_ptr<write_link> make(const QString& path, const file_identity& expected, QString* reason);
    // Takes the link name away; a new file ExifTool had to put in its place is a copy and goes too.
    ~write_link();
    write_link(const write_link&) = delete;
    write_link& operator=(const write_link&) = delete;

    // The name to hand to ExifTool.
    const QString& target() const { return name; }
    // After ExifTool has answered: true when the photo holds the write, and `after` is its state.
    // Where ExifTool could not copy in place (a nearly full disk) it leaves the photo's file part
    // rewritten and its whole copy under the private name; that copy then takes the photo's name,
    // as it would have without the link. False when it can't: the copy is kept and named in the log.
    bool landed(file_identity* after);

    // Left by a program that ended while it wrote: a private name of a dead program beside a photo
    // of `folder` is removed where the photo still has its own name, and kept where it is the last.
    static void sweep(const QString& folder);

private:
    write_link(const QString& photo, const QString& name, bool linked, const file_identity& expected);
    QString photo;
    QString name;
    bool linked = false;
    file_identity expected;
    bool checked = false, result = false, kept_copy = false;
    file_identity left;
};
