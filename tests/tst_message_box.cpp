#include "test_support.h"

#include <ondo/message_box.h>

#include <QtTest>

using ondo::message_box;
using button = QMessageBox::StandardButton;
Q_DECLARE_METATYPE(QMessageBox::StandardButtons)

class tst_message_box : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { message_box::verbose = false; }
    void default_button_data()
    {
        QTest::addColumn<QMessageBox::StandardButtons>("buttons");
        QTest::addColumn<int>("default_button");
        QTest::addColumn<QString>("expected");
        using box = QMessageBox;
        QTest::newRow("none given, cancel first in mask order") << (box::Cancel | box::Ok) << int(box::NoButton) << "OK";
        QTest::newRow("none given, no accepting button") << (box::No | box::Cancel) << int(box::NoButton) << "";
        QTest::newRow("chosen one absent") << box::StandardButtons(box::Ok) << int(box::Cancel) << "";
    }

    void default_button()
    {
        QFETCH(QMessageBox::StandardButtons, buttons);
        QFETCH(int, default_button);
        auto seen = test_support::answer_next_box("close");
        message_box::warning(nullptr, "Title", "Text", buttons, button(default_button));
        QVERIFY(seen->answered);
        QTEST(seen->default_button, "expected");
    }

    void answers_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("logged");
        QTest::newRow("relabelled yes") << "Keep changes" << int(QMessageBox::Yes) << "Keep changes";
        QTest::newRow("window control on yes/no") << "close" << int(QMessageBox::Cancel) << "Cancel";
    }

    void answers()
    {
        QFETCH(QString, answer);
        QFETCH(QString, logged);
        message_box::verbose = true;
        QTest::ignoreMessage(QtDebugMsg, qPrintable("MessageBox \"Fix\" \"Some files failed.\": " + logged));
        auto seen = test_support::answer_next_box(answer);
        QTEST(int(message_box::question(nullptr, "Fix", "Some files failed.", "Keep changes", "Undo Changes")), "expected");
        QVERIFY(seen->answered);
    }
};

QTEST_MAIN(tst_message_box)
#include "tst_message_box.moc"
