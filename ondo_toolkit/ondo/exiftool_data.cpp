#include "exiftool_data.h"

namespace ondo::exiftool_data {

using namespace std::string_view_literals;

// Files ExifTool can write; the file dialog's filter is built from these.
const std::set<std::string_view> writable_file_extensions = {
    "360"sv,  "3g2"sv,  "3gp"sv,  "3gp2"sv, "3gpp"sv, "aax"sv,  "ai"sv,   "ait"sv,  "apng"sv, "arq"sv,
    "arw"sv,  "avif"sv, "ciff"sv, "cr2"sv,  "cr3"sv,  "crm"sv,  "crw"sv,  "cs1"sv,  "dcp"sv,  "dng"sv,
    "dr4"sv,  "dvb"sv,  "eps"sv,  "eps2"sv, "eps3"sv, "epsf"sv, "erf"sv,  "exif"sv, "exv"sv,  "f4a"sv,
    "f4b"sv,  "f4p"sv,  "f4v"sv,  "fff"sv,  "flif"sv, "gif"sv,  "gpr"sv,  "hdp"sv,  "heic"sv, "heif"sv,
    "hif"sv,  "icc"sv,  "icm"sv,  "iiq"sv,  "ind"sv,  "indd"sv, "indt"sv, "insp"sv, "j2k"sv,  "jng"sv,
    "jp2"sv,  "jpe"sv,  "jpeg"sv, "jpf"sv,  "jpg"sv,  "jpm"sv,  "jps"sv,  "jpx"sv,  "jxl"sv,  "jxr"sv,
    "lrv"sv,  "m4a"sv,  "m4b"sv,  "m4p"sv,  "m4v"sv,  "mef"sv,  "mie"sv,  "mng"sv,  "mos"sv,  "mov"sv,
    "mp4"sv,  "mpo"sv,  "mqv"sv,  "mrw"sv,  "nef"sv,  "nrw"sv,  "orf"sv,  "ori"sv,  "pbm"sv,  "pdf"sv,
    "pef"sv,  "pgm"sv,  "png"sv,  "ppm"sv,  "ps"sv,   "ps2"sv,  "ps3"sv,  "psb"sv,  "psd"sv,  "psdt"sv,
    "qt"sv,   "raf"sv,  "raw"sv,  "rw2"sv,  "rwl"sv,  "sr2"sv,  "srw"sv,  "thm"sv,  "tif"sv,  "tiff"sv,
    "vrd"sv,  "wdp"sv,  "x3f"sv,  "xmp"sv,
};

const std::vector<std::string_view> filesystem_tags = {
    "FileAccessDate"sv,
    "FileCreateDate"sv,
    "FileModifyDate"sv,
};

} // namespace ondo::exiftool_data
