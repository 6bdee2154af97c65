#include <ondo/language.h>

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <iostream>

// The system locale is read once per process, so each case runs this program again as a child
// under another LC_ALL, with a settings store of its own.
class tst_language : public QObject {
    Q_OBJECT

private slots:
    void language_suffix_data()
    {
        QTest::addColumn<QString>("system_locale");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("expected");
        QTest::newRow("German system") << "de_DE.UTF-8" << "" << "de";
        QTest::newRow("French system: in the table, not offered") << "fr_FR.UTF-8" << "" << "en";
        QTest::newRow("fr set by hand") << "de_DE.UTF-8" << "fr" << "fr";
    }

    void language_suffix()
    {
        QFETCH(QString, system_locale);
        QFETCH(QString, stored);
        QTemporaryDir config;
        const QString store = config.filePath("Velmora/Tavimo.conf");
        if (!stored.isEmpty()) {
            QSettings settings(store, QSettings::IniFormat);
            settings.setValue("lang", stored);
        }

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("TAVIMO_PRINT_LANGUAGE", "1");
        env.insert("LC_ALL", system_locale);
        env.remove("LANGUAGE");
        env.insert("XDG_CONFIG_HOME", config.path());
        QProcess child;
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), QStringList());
        QVERIFY(child.waitForFinished(30000));
        QTEST(QString::fromUtf8(child.readAllStandardOutput()).trimmed(), "expected");

        // The answer is never written back.
        QCOMPARE(QSettings(store, QSettings::IniFormat).value("lang").toString(), stored);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("TAVIMO_PRINT_LANGUAGE")) {
        QCoreApplication::setOrganizationName("Velmora");
        QCoreApplication::setApplicationName("Tavimo");
        std::cout << ondo::get_language_suffix("lang").toStdString() << std::endl;
        return 0;
    }
    tst_language test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_language.moc"
