#include "datetime_format.h"
#include "time_adjustment.h"

#include "test_support.h"

#include <QLineEdit>
#include <QRadioButton>
#include <QSettings>
#include <QtTest>

using offset = QList<QVariant>;

class tst_panels : public QObject {
    Q_OBJECT

private slots:
    void init() { test_support::clear_settings(); }
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    void typing_reports_the_whole_offset_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<offset>("expected");

        auto zone = [](bool stated, double hours) { return offset{0, 0, 0, 0, 0, 0, stated, hours}; };
        QTest::newRow("negative month") << "C" << "lineedit_month" << "-14" << offset{0, -14, 0, 0, 0, 0, false, 0.0};
        QTest::newRow("lone minus is 0") << "C" << "lineedit_hour" << "-" << zone(false, 0.0);
        // Either decimal sign in either locale: C is what containers and many sessions run under.
        for (const char* locale : {"C", "de_DE"}) {
            for (const char* keys : {"-3,5", "-3.5"})
                QTest::addRow("zone %s under %s", keys, locale) << locale << "lineedit_timezone" << keys << zone(true, -3.5);
            QTest::addRow("zone 5,75 under %s", locale) << locale << "lineedit_timezone" << "5,75" << zone(true, 5.75);
        }
        QTest::newRow("zone lone minus") << "C" << "lineedit_timezone" << "-" << zone(true, 0.0);
    }

    void typing_reports_the_whole_offset()
    {
        QFETCH(QString, locale);
        QFETCH(QString, field);
        QFETCH(QString, keys);
        QFETCH(offset, expected);
        QLocale::setDefault(QLocale(locale)); // before the validators take their locale
        time_adjustment panel;
        QSignalSpy spy(&panel, &time_adjustment::time_offset_changed);
        auto* edit = panel.findChild<QLineEdit*>(field);
        QVERIFY(edit);
        QTest::keyClicks(edit, keys);

        QCOMPARE(edit->text(), keys); // the validator let every key through
        QCOMPARE(spy.count(), keys.size());
        QCOMPARE(spy.last(), expected);
        QCOMPARE(panel.has_timezone_offset(), expected.at(6).toBool());
    }

    // `preset` is a stored date format from before the panel is made.
    void radio_click_stores_before_reporting_data()
    {
        QTest::addColumn<QString>("preset");
        QTest::addColumn<QString>("radio");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("format");
        QTest::newRow("HH:mm") << "" << "rb_hhmm" << "time_format" << "HH:mm" << "dd.MM.yyyy - HH:mm";
        QTest::newRow("stored format that is no row, replaced") << "yyyy+MM+dd" << "rb_ddmmyyyy_dot" << "date_format"
                                                               << "dd.MM.yyyy" << "dd.MM.yyyy - HH:mm:ss";
    }

    void radio_click_stores_before_reporting()
    {
        QFETCH(QString, preset);
        QFETCH(QString, radio);
        QFETCH(QString, key);
        QFETCH(QString, stored);
        QFETCH(QString, format);
        if (!preset.isEmpty())
            QSettings().setValue("date_format", preset);
        datetime_format panel;
        QCOMPARE(panel.get_datetime_format(), (preset.isEmpty() ? "dd.MM.yyyy" : preset) + " - HH:mm:ss");
        QCOMPARE(panel.findChild<QRadioButton*>("rb_ddmmyyyy_dot")->isChecked(), preset.isEmpty());
        QCOMPARE(QSettings().value(key).toString(), preset); // nothing is stored until a click

        QStringList reported; // each report with what the store held at that moment
        connect(&panel, &datetime_format::format_changed, this,
            [&](const QString& text) { reported << text + " | " + QSettings().value(key).toString(); });
        panel.findChild<QRadioButton*>(radio)->click();

        QCOMPARE(reported, QStringList{format + " | " + stored});
        // A new panel starts from the stored choice.
        datetime_format again;
        QCOMPARE(again.get_datetime_format(), format);
        QVERIFY(again.findChild<QRadioButton*>(radio)->isChecked());
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    QApplication app(argc, argv);
    tst_panels test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_panels.moc"
