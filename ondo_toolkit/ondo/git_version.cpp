#include "ondo/git_version.h"

// version() and _versions are defined in the file generated at build time.

std::map<std::string, std::string> git_version::versions() { return _versions; }

std::string git_version::versions_formatted()
{
    std::string text;
    for (const auto& [component, revision] : _versions)
        text += "Component: " + component + "\tVersion: " + revision + "\n";
    return text;
}
