#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/dialog_about.h>
#include <ondo/git_version.h>
#include <ondo/widgets.h>

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QtTest>

using test_support::answer_next_box;

namespace {

QStringList label_texts(QDialog* dialog)
{
    QStringList texts;
    for (QLabel* label : dialog->findChildren<QLabel*>())
        texts << label->text();
    return texts;
}

// Clicks the credits line of `about` and returns the texts of the credits dialog that comes up.
QStringList open_credits(QDialog* about)
{
    QStringList texts;
    const auto credits = answer_next_box("close", [&](QDialog* dialog) { texts = label_texts(dialog); });
    auto* line = about->findChild<ondo::clickable_label*>();
    QTest::mouseClick(line, Qt::LeftButton);
    if (!credits->answered)
        qWarning("the credits dialog did not come up");
    return texts;
}

} // namespace

// The about box with the build's revision, and the credits that its line opens.
class tst_dialog_about : public test_support::window_test {
    Q_OBJECT

private slots:
    void about_and_credits()
    {
        window = test_support::open_main_window();
        QStringList about_texts, credits;
        const auto about = answer_next_box("close", [&](QDialog* dialog) {
            about_texts = label_texts(dialog);
            credits = open_credits(dialog);
        });
        window->on_button_about_clicked();
        QVERIFY(about->answered);

        QCOMPARE(about->title, QString("About"));
        const QString revision = QString::fromStdString(git_version::version());
        QVERIFY(!revision.isEmpty());
        QVERIFY2(about_texts.filter("(" + revision + ")").size() == 1, qPrintable(about_texts.join('|')));
        QVERIFY(about_texts.contains(QCoreApplication::applicationVersion() + " - 64 Bit"));
        // The web site row leads to the guide on this machine, not to an address on the net.
        QVERIFY(about_texts.filter("href=\"file://").size() == 1);

        QVERIFY(credits.contains(QString("Qt ") + qVersion()));
        const QString exiftool = credits.value(credits.indexOf("Exiftool") + 1);
        QVERIFY(exiftool.contains("Phil Harvey") && exiftool.contains("https://exiftool.org/"));
        // Every row's description names its licence.
        for (const QString& name : {QString("Qt ") + qVersion(), QString("Exiftool"), QString("GNU FreeFont")})
            QVERIFY2(credits.value(credits.indexOf(name) + 1).contains(QRegularExpression("License|GPL")),
                     qPrintable(name));
    }

    void default_libraries_data()
    {
        QTest::addColumn<bool>("exiftool");
        QTest::addColumn<bool>("image_libraries");
        QTest::addColumn<QStringList>("names");

        QTest::newRow("none") << false << false << QStringList{};
        QTest::newRow("exiftool") << true << false << QStringList{"Exiftool"};
        QTest::newRow("both") << true << true << QStringList{"Exiftool", "FreeImage", "Little CMS"};
    }

    void default_libraries()
    {
        QFETCH(bool, exiftool);
        QFETCH(bool, image_libraries);
        QFETCH(QStringList, names);
        ondo::dialog_about about(nullptr, false, QString(), 97, 10);
        about.default_3rdparty_libs(exiftool, image_libraries);
        const QStringList credits = open_credits(&about);
        QStringList found;
        for (const QString& name : {"Exiftool", "FreeImage", "Little CMS"})
            if (credits.contains(name))
                found << name;
        QCOMPARE(found, names);
        QVERIFY(credits.contains(QString("Qt ") + qVersion()));
    }

    void centred_on_parent_data()
    {
        QTest::addColumn<QPoint>("offset"); // of the parent's centre from the screen's
        QTest::addColumn<bool>("centred");

        QTest::newRow("parent in the middle") << QPoint(0, 0) << true;
        QTest::newRow("parent mostly off the screen") << QPoint(5000, 0) << false;
    }

    void centred_on_parent()
    {
        QFETCH(QPoint, offset);
        QFETCH(bool, centred);
        QWidget parent;
        parent.resize(400, 300);
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QRect where = parent.geometry();
        where.moveCenter(screen.center() + offset);
        parent.setGeometry(where);
        ondo::dialog_about about(&parent, false, QString(), 97, 10);
        const auto seen = answer_next_box("close", [&](QDialog* dialog) {
            QCOMPARE(dialog->geometry().center() == parent.geometry().center(), centred);
            QCOMPARE(dialog->windowModality(), Qt::ApplicationModal);
        });
        about.exec_centered_on(&parent);
        QVERIFY(seen->answered);
    }
};

int main(int argc, char** argv)
{
    test_support::use_private_settings();
    ondo::application<MainWindow> app(argc, argv);
    tst_dialog_about test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_dialog_about.moc"
