#include "ondo/assertion.h"

namespace ondo {

std::string assertion_text(const char* expression, const char* file, int line, const char* function)
{
    return std::string("assert \"") + expression + "\" failed at " + file + ":" + std::to_string(line)
        + " in " + function + "\n";
}

void assertion_failed(const char* expression, const char* file, int line, const char* function)
{
    throw assertion_text(expression, file, line, function);
}

} // namespace ondo
