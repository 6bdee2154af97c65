#include "window_test.h"

#include "test_support.h"

#include <mainwindow.h>
#include <ondo/exiftool.h>

namespace test_support {

void window_test::init()
{
    clear_settings();
    dir = std::make_unique<QTemporaryDir>();
}

void window_test::cleanup()
{
    delete window;
    forget_files();
}

void window_test::cleanupTestCase() { ondo::exiftool::shutdown(false); }

} // namespace test_support
