#pragma once

#include <set>
#include <string_view>
#include <vector>

namespace ondo::exiftool_data {

// Tags ExifTool reads but cannot write, without group, in byte order (generated from the
// installed ExifTool's tag listing by tools/make_forbidden_tags.pl).
extern const std::vector<std::string_view> forbidden_tags;
// Lower-case file extensions, without the dot, of the files ExifTool can write.
extern const std::set<std::string_view> writable_file_extensions;
// The file-system times ExifTool reports as System tags.
extern const std::vector<std::string_view> filesystem_tags;

} // namespace ondo::exiftool_data
