#include "test_support.h"

#include <ondo/message_box.h>

#include <QAbstractButton>
#include <QInputDialog>
#include <QProxyStyle>
#include <QtTest>

using ondo::input_dialog;
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
        QTest::newRow("none given, yes and no") << (box::Yes | box::No) << int(box::NoButton) << "Yes";
        QTest::newRow("none given, cancel first in mask order") << (box::Cancel | box::Ok) << int(box::NoButton) << "OK";
        QTest::newRow("none given, no accepting button") << (box::No | box::Cancel) << int(box::NoButton) << "";
        QTest::newRow("no chosen") << (box::Yes | box::No) << int(box::No) << "No";
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
        QTest::newRow("relabelled no") << "Undo Changes" << int(QMessageBox::No) << "Undo Changes";
        QTest::newRow("window control on yes/no") << "close" << int(QMessageBox::Cancel) << "Cancel";
    }

    void answers()
    {
        QFETCH(QString, answer);
        QFETCH(QString, logged);
        message_box::verbose = true;
        QTest::ignoreMessage(QtDebugMsg, qPrintable("MessageBox \"Fix\" \"Some files failed.\": " + logged));
        // A style that puts glyphs on dialog buttons, as Fusion does on a Linux desktop.
        struct button_icons : QProxyStyle {
            int styleHint(StyleHint hint, const QStyleOption* o, const QWidget* w, QStyleHintReturn* r) const override
            {
                return hint == SH_DialogButtonBox_ButtonsHaveIcons ? 1 : QProxyStyle::styleHint(hint, o, w, r);
            }
        };
        QApplication::setStyle(new button_icons);
        int icons = -1;
        bool box_icon = false;
        auto seen = test_support::answer_next_box(answer, [&](QDialog* box) {
            icons = 0;
            for (QAbstractButton* b : static_cast<QMessageBox*>(box)->buttons())
                icons += !b->icon().isNull();
            box_icon = !static_cast<QMessageBox*>(box)->iconPixmap().isNull();
        });
        QTEST(int(message_box::question(nullptr, "Fix", "Some files failed.", "Keep changes", "Undo Changes")), "expected");
        QCOMPARE(seen->text, QString("Some files failed."));
        QCOMPARE(seen->buttons.size(), 2);
        QCOMPARE(icons, 0);
        QVERIFY(box_icon);
    }

    void input_results_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("expected_ok");
        QTest::newRow("int rejected") << "int" << "Cancel" << "5" << false;
        QTest::newRow("int accepted") << "int" << "OK" << "9" << true;
        QTest::newRow("double rejected") << "double" << "Cancel" << "2.5" << false;
        QTest::newRow("item rejected") << "item 1" << "Cancel" << "beta" << false;
        QTest::newRow("item rejected, no preset") << "item -1" << "Cancel" << "" << false;
        QTest::newRow("item accepted") << "item 2" << "OK" << "gamma" << true;
        QTest::newRow("text rejected") << "text" << "Cancel" << "" << false;
        QTest::newRow("text, own labels") << "text labelled" << "Take" << "typed" << true;
        QTest::newRow("multi-line rejected") << "multi" << "Cancel" << "" << false;
    }

    void input_results()
    {
        QFETCH(QString, kind);
        QFETCH(QString, answer);
        QFETCH(bool, expected_ok);
        // The answer comes after the test has typed a value, so acceptance shows the dialog's value.
        auto seen = test_support::answer_next_box(answer, [](QDialog* d) {
            auto* dialog = qobject_cast<QInputDialog*>(d);
            if (dialog->inputMode() == QInputDialog::IntInput)
                dialog->setIntValue(9);
            else if (dialog->inputMode() == QInputDialog::DoubleInput)
                dialog->setDoubleValue(9);
            else if (dialog->comboBoxItems().isEmpty())
                dialog->setTextValue("typed");
        });
        bool ok = !expected_ok;
        const QStringList items{"alpha", "beta", "gamma"};
        QString result;
        if (kind == "int")
            result = QString::number(input_dialog::get_int(nullptr, "T", "L", 5, 0, 10, 1, &ok));
        else if (kind == "double")
            result = QString::number(input_dialog::get_double(nullptr, "T", "L", 2.5, 0, 10, 2, &ok));
        else if (kind.startsWith("item"))
            result = input_dialog::get_item(nullptr, "T", "L", items, kind.mid(5).toInt(), false, &ok);
        else if (kind == "text")
            result = input_dialog::get_text(nullptr, "T", "L", QLineEdit::Normal, "start", &ok);
        else if (kind == "text labelled")
            result = input_dialog::get_text(nullptr, "T", "L", QLineEdit::Normal, "start", &ok, Qt::WindowFlags(),
                Qt::ImhNone, "Take", "Leave");
        else if (kind == "multi")
            result = input_dialog::get_multi_line_text(nullptr, "T", "L", "start", &ok);
        QVERIFY(seen->answered);
        QTEST(result, "expected");
        QCOMPARE(ok, expected_ok);
        if (kind == "text labelled")
            QVERIFY(seen->buttons.contains("Leave"));
    }
};

QTEST_MAIN(tst_message_box)
#include "tst_message_box.moc"
