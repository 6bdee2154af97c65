#pragma once

#include <ondo/exiftool.h>

#include <QString>

// The body a file was taken with: its make and model, and the first serial number it holds.
// Two bodies of one model are told apart by their serials.
struct camera {
    QString make, model, serial;

    // From a file's tags as read with groups (-G1 -a): IFD0's make and model, else those of a
    // movie's QuickTime Keys or UserData, else XMP's; the serial from EXIF, the maker notes'
    // serial or internal serial, or XMP-aux.
    static camera of(const exif_tag_map& tags);

    bool unknown() const { return make.isEmpty() && model.isEmpty(); }
    // The text that tells bodies apart: equal keys are one camera. Empty for an unknown camera.
    QString key() const;
    static camera from_key(const QString& key);

    // "NIKON D70", "Canon EOS 40D", "Apple iPhone 12": the model, led by the maker's first word
    // where the model doesn't begin with it. With `shared_model` (another loaded body has the same
    // model) the end of the serial follows: "Canon EOS 40D …1234". "Unknown camera" for none.
    QString name(bool shared_model = false) const;
};
