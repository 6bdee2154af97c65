#pragma once

#include <map>
#include <string>

// The source revisions that were built into this program, generated at build time from the
// repository's state: an abbreviated commit, "-dirty" when the tree had changes, "unknown" for
// a build outside a checkout.
class git_version {
public:
    // The application's own revision.
    static std::string version();
    // Component name to revision.
    static std::map<std::string, std::string> versions();
    // One "Component: <name>\tVersion: <revision>" line per component, in name order.
    static std::string versions_formatted();

private:
    static const std::map<std::string, std::string> _versions;
};
