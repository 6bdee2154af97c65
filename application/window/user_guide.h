#pragma once

#include <QString>

// The user guide that the help page and the about box lead to. The program has no web site of
// its own, so the guide travels in the resources and is written out where a browser can open it.
namespace user_guide {

// Writes "<temp>/tavimo_guide_<lang>.html", and with `with_pdf` the same guide as
// "tavimo_guide_<lang>.pdf", beside the help page whose relative links point at them. A language
// without a guide gets the English one under its own name. Returns the HTML file's path.
QString write(const QString& lang, bool with_pdf);

} // namespace user_guide
