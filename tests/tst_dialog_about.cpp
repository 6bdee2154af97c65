#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/dialog_about.h>
#include <ondo/git_version.h>
#include <ondo/widgets.h>

#include <QApplication>
#include <QLabel>
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
            answer_next_box("close", [&](QDialog* shown) { credits = label_texts(shown); });
            QTest::mouseClick(dialog->findChild<ondo::clickable_label*>(), Qt::LeftButton);
        });
        window->on_button_about_clicked();
        QVERIFY(about->answered);

        const QString revision = QString::fromStdString(git_version::version());
        QVERIFY(!revision.isEmpty());
        QVERIFY2(about_texts.filter("(" + revision + ")").size() == 1, qPrintable(about_texts.join('|')));

        QVERIFY(credits.contains(QString("Qt ") + qVersion()));
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
