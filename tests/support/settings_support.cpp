#include "settings_support.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

namespace test_support {

void use_private_settings()
{
    static QTemporaryDir home;
    if (!home.isValid())
        qFatal("cannot make a temporary home");
    QDir(home.path()).mkpath(".config");
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toLocal8Bit());
    QCoreApplication::setOrganizationName("Velmora");
    QCoreApplication::setApplicationName("Tavimo");
}

void clear_settings()
{
    QSettings settings;
    settings.clear();
    settings.sync();
}

} // namespace test_support
