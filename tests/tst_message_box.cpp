#include "test_support.h"

#include <ondo/message_box.h>

#include <QAbstractButton>
#include <QProxyStyle>
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
        QTest::newRow("none given, yes and no") << (box::Yes | box::No) << int(box::NoButton) << "Yes";
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
        QCOMPARE(icons, 0);
        QVERIFY(box_icon);
    }
};

QTEST_MAIN(tst_message_box)
#include "tst_message_box.moc"
