#include "datetime_format.h"
#include "time_adjustment.h"

#include "test_support.h"

#include <QLineEdit>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSettings>
#include <QtTest>

using offset = QList<QVariant>;

namespace {

// A report of the zone field alone: whether it holds a zone, and that zone in hours.
offset zone(bool stated, double hours) { return offset{0, 0, 0, 0, 0, 0, stated, hours}; }

} // namespace

class tst_panels : public QObject {
    Q_OBJECT

private slots:
    void init() { test_support::clear_settings(); }
    void cleanup() { QLocale::setDefault(QLocale::c()); }

    // `shown`: what the validator leaves of the keys; `refused`: no zone, and it must look so.
    void typing_reports_the_whole_offset_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<offset>("expected");
        QTest::addColumn<bool>("refused");

        QTest::newRow("negative month") << "C" << "lineedit_month" << "-14" << "-14"
                                        << offset{0, -14, 0, 0, 0, 0, false, 0.0} << false;
        QTest::newRow("lone minus is 0") << "C" << "lineedit_hour" << "-" << "-" << zone(false, 0.0) << false;
        // Either decimal sign in either locale: C is what containers and many sessions run under.
        const QList<QPair<QString, double>> zones{
            {"2", 2.0},      {"+2", 2.0},      {"-3.5", -3.5},     {"-3,5", -3.5},   {"\u22123,5", -3.5},
            {"+02:00", 2.0}, {"5:30", 5.5},    {"-03:30", -3.5},   {"5,75", 5.75},   {"-0.25", -0.25},
            {"+14:00", 14.0}, {"-12", -12.0},  {"0", 0.0}};
        for (const char* locale : {"C", "de_DE"}) {
            for (const auto& typed : zones)
                QTest::addRow("zone %s under %s", qUtf8Printable(typed.first), locale)
                    << locale << "lineedit_timezone" << typed.first << typed.first << zone(true, typed.second) << false;
            QTest::addRow("no zone -12,5 under %s", locale) << locale << "lineedit_timezone" << "-12,5" << "-12,5"
                                                         << zone(false, 0.0) << true;
        }
        for (const char* wrong : {"99", "+15", "-12.5", "5.3", "5:20", "+14:30", "-", "+02:", "+0530"})
            QTest::addRow("no zone %s", wrong) << "C" << "lineedit_timezone" << wrong << wrong << zone(false, 0.0) << true;
        QTest::newRow("letters dropped") << "C" << "lineedit_timezone" << "abc" << "" << zone(false, 0.0) << false;
        QTest::newRow("blank and letter dropped") << "C" << "lineedit_timezone" << "+ 2h" << "+2" << zone(true, 2.0) << false;
        QTest::newRow("second decimal sign dropped") << "C" << "lineedit_timezone" << "1.5.5" << "1.55" << zone(false, 0.0) << true;
        QTest::newRow("long text cut") << "C" << "lineedit_timezone" << "-3.500000" << "-3.5000" << zone(true, -3.5) << false;
    }

    void typing_reports_the_whole_offset()
    {
        QFETCH(QString, locale);
        QFETCH(QString, field);
        QFETCH(QString, keys);
        QFETCH(QString, shown);
        QFETCH(offset, expected);
        QFETCH(bool, refused);
        QLocale::setDefault(QLocale(locale)); // before the validators take their locale
        time_adjustment panel;
        panel.setWidgetsToolTip("offset tip");
        QSignalSpy spy(&panel, &time_adjustment::time_offset_changed);
        auto* edit = panel.findChild<QLineEdit*>(field);
        QVERIFY(edit);
        // One key at a time; keyClicks sends Latin-1 only, which has no minus sign (U+2212).
        for (QChar key : keys)
            QTest::sendKeyEvent(QTest::Click, edit, Qt::Key(key.toUpper().unicode()), QString(key), Qt::NoModifier);

        QCOMPARE(edit->text(), shown);
        QCOMPARE(spy.count(), shown.size()); // each key that landed reported once
        if (!spy.isEmpty())
            QCOMPARE(spy.last(), expected);
        QCOMPARE(panel.has_timezone_offset(), expected.at(6).toBool());
        QCOMPARE(panel.zone_refused(), refused);

        // A refused zone says why in its tooltip; otherwise the zone field keeps its label's tooltip.
        auto* year = panel.findChild<QLineEdit*>("lineedit_year");
        auto* zone_label = panel.findChild<QWidget*>("label_timezone");
        auto looks_refused = [&] {
            edit->ensurePolished();
            year->ensurePolished();
            return edit->palette().color(QPalette::Text) != year->palette().color(QPalette::Text);
        };
        QCOMPARE(looks_refused(), refused);
        QVERIFY(zone_label->toolTip() != "offset tip");
        if (refused)
            QVERIFY2(edit->toolTip().startsWith('"' + shown + "\" is not a time zone."), qPrintable(edit->toolTip()));
        else
            QCOMPARE(edit->toolTip(), field == "lineedit_timezone" ? zone_label->toolTip() : QString("offset tip"));

        panel.clear();
        if (!shown.isEmpty())
            QCOMPARE(spy.last(), zone(false, 0.0));
        QVERIFY(!panel.zone_refused());
        QVERIFY(!looks_refused());
        QCOMPARE(panel.findChild<QLineEdit*>("lineedit_timezone")->toolTip(), zone_label->toolTip());
    }

    // Until a choice is stored, the row nearest the locale's short date; a click stores before it reports
    // ("format | date | time" as stored then).
    void date_format_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("radio");
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("click");
        QTest::addColumn<QString>("reported");
        QTest::newRow("en_US") << "en_US" << "" << "rb_mmddyyyy_slash" << "MM/dd/yyyy" << "" << "";
        QTest::newRow("de_DE") << "de_DE" << "" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "" << "";
        QTest::newRow("C") << "C" << "" << "rb_yyyymmdd_dash" << "yyyy-MM-dd" << "" << "";
        QTest::newRow("en_GB: day first, slashes") << "en_GB" << "" << "rb_ddmmyyyy_slash" << "dd/MM/yyyy" << "" << "";
        QTest::newRow("nl_NL: day first, dashes") << "nl_NL" << "" << "rb_ddmmyyyy_dash" << "dd-MM-yyyy" << "" << "";
        QTest::newRow("ja_JP: year first, slashes") << "ja_JP" << "" << "rb_yyyymmdd_slash" << "yyyy/MM/dd" << "" << "";
        QTest::newRow("ko_KR: year first, dots and blanks") << "ko_KR" << "" << "rb_yyyymmdd_dot" << "yyyy.MM.dd" << "" << "";
        QTest::newRow("ar_EG: marks between the fields") << "ar_EG" << "" << "rb_ddmmyyyy_slash" << "dd/MM/yyyy" << "" << "";
        QTest::newRow("en_US, DD.MM.YYYY chosen") << "en_US" << "dd.MM.yyyy" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "" << "";
        QTest::newRow("C, MM/DD/YYYY chosen") << "C" << "MM/dd/yyyy" << "rb_mmddyyyy_slash" << "MM/dd/yyyy" << "" << "";
        QTest::newRow("HH:mm clicked") << "de_DE" << "" << "rb_ddmmyyyy_dot" << "dd.MM.yyyy" << "rb_hhmm"
                                       << "dd.MM.yyyy - HH:mm | dd.MM.yyyy | HH:mm";
        QTest::newRow("stored format that is no row, replaced") << "de_DE" << "yyyy+MM+dd" << "" << "yyyy+MM+dd"
                                                               << "rb_ddmmyyyy_dot" << "dd.MM.yyyy - HH:mm:ss | dd.MM.yyyy | HH:mm:ss";
    }

    void date_format()
    {
        QFETCH(QString, locale);
        QFETCH(QString, stored);
        QFETCH(QString, radio);
        QFETCH(QString, format);
        QFETCH(QString, click);
        QFETCH(QString, reported);
        QLocale::setDefault(QLocale(locale));
        if (!stored.isEmpty())
            QSettings().setValue("date_format", stored);
        auto settings = [] { return QSettings().value("date_format").toString() + " | " + QSettings().value("time_format").toString(); };

        datetime_format panel;
        QCOMPARE(panel.get_datetime_format(), format + " - HH:mm:ss");
        for (QRadioButton* button : panel.findChildren<QRadioButton*>(QRegularExpression("^rb_[dmy]")))
            QVERIFY2(button->isChecked() == (button->objectName() == radio), qPrintable(button->objectName()));
        QCOMPARE(settings(), stored + " | ");
        if (click.isEmpty())
            return;

        QStringList reports; // each with what the store held at that moment
        connect(&panel, &datetime_format::format_changed, this, [&](const QString& text) { reports << text + " | " + settings(); });
        panel.findChild<QRadioButton*>(click)->click();
        QCOMPARE(reports, QStringList{reported});
        datetime_format again;
        QCOMPARE(again.get_datetime_format(), reported.section(" | ", 0, 0));
        QVERIFY(again.findChild<QRadioButton*>(click)->isChecked());
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
