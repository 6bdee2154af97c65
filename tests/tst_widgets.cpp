#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/application_information_box.h>
#include <ondo/button_dark.h>
#include <ondo/git_version.h>
#include <ondo/message_box.h>
#include <ondo/widgets.h>

#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QtTest>

using test_support::answer_next_box;
Q_DECLARE_METATYPE(QMessageBox::StandardButtons)

namespace {

// The lightest pixel inside the frame of `edit`: the core of its glyphs.
QRgb lightest_inside(QWidget& edit)
{
    const QImage image = edit.grab().toImage();
    QRgb lightest = 0;
    for (int y = 2; y < image.height() - 2; ++y)
        for (int x = 2; x < image.width() - 2; ++x)
            if (qGray(image.pixel(x, y)) > qGray(lightest))
                lightest = image.pixel(x, y);
    return lightest;
}

QImage row_of(const QVector<QRgb>& pixels)
{
    QImage image(pixels.size(), 1, QImage::Format_ARGB32);
    for (int x = 0; x < pixels.size(); ++x)
        image.setPixel(x, 0, pixels[x]);
    return image;
}

QRgb with_alpha(QRgb colour, int alpha) { return qRgba(qRed(colour), qGreen(colour), qBlue(colour), alpha); }

QStringList label_texts(QDialog* dialog)
{
    QStringList texts;
    for (QLabel* label : dialog->findChildren<QLabel*>())
        texts << label->text();
    return texts;
}

} // namespace

// The toolkit's widgets and boxes; the about box last, as it opens the main window.
class tst_widgets : public test_support::window_test {
    Q_OBJECT
private slots:
    // The settings dialog's language box takes the wheel as any combo box does; the gallery's
    // boxes ignore it.
    void combobox_wheel_data()
    {
        QTest::addColumn<bool>("ignore_wheel");
        QTest::addColumn<int>("expected_index");
        QTest::newRow("taking") << false << 2;
        QTest::newRow("ignoring") << true << 1;
    }

    void combobox_wheel()
    {
        QFETCH(bool, ignore_wheel);
        // The settings dialog's box is made with the plain constructor.
        const std::unique_ptr<ondo::combobox> box(ignore_wheel ? new ondo::combobox(true, nullptr)
                                                               : new ondo::combobox);
        box->addItems({"a", "b", "c"});
        box->setCurrentIndex(1);
        box->show();
        const QPoint centre = box->rect().center();
        QWheelEvent wheel(centre, box->mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(box.get(), &wheel);
        QTEST(box->currentIndex(), "expected_index");
    }

    // The about box's credits line answers the left button alone (about_and_credits clicks it).
    void clickable_label_ignores_the_right_button()
    {
        ondo::clickable_label label("About", true, nullptr);
        label.show();
        QSignalSpy spy(&label, &ondo::clickable_label::clicked);
        QTest::mouseClick(&label, Qt::RightButton);
        QCOMPARE(spy.count(), 0);
    }

    // An empty field's placeholder looks like the same text typed, in each state and after the
    // sheet is built anew for a new border colour.
    void lineedit_placeholder_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("restyled");
        for (bool restyled : {false, true})
            for (bool enabled : {true, false})
                QTest::addRow("%s%s", enabled ? "enabled" : "disabled", restyled ? ", restyled" : "") << enabled << restyled;
    }

    void lineedit_placeholder()
    {
        QFETCH(bool, enabled);
        QFETCH(bool, restyled);
        ondo::lineedit typed;
        typed.setText("0");
        ondo::lineedit empty;
        empty.setPlaceholderText("0");
        for (ondo::lineedit* edit : {&typed, &empty}) {
            edit->resize(60, 22);
            edit->setEnabled(enabled);
            edit->show();
            QVERIFY(QTest::qWaitForWindowExposed(edit));
            if (restyled) {
                edit->border = QColor(200, 0, 0);
                edit->update_style();
            }
        }
        const QRgb text = lightest_inside(typed);
        QVERIFY(qGray(text) > 90);
        QCOMPARE(QColor(lightest_inside(empty)), QColor(text));
    }

    // Art takes the colours given at its own alpha; disabled art is half as opaque.
    void recolour()
    {
        const QVector<QRgb> pixels{qRgba(10, 20, 30, 255), qRgba(200, 0, 0, 128), qRgba(0, 0, 0, 1), 0};
        const QRgb normal = qRgb(129, 136, 133), light = qRgb(240, 241, 242);
        ondo::button_dark::img_highlighter h;
        h.normal = ondo::pixel_argb(normal);
        h.highlight = ondo::pixel_argb(light);
        QImage n = row_of(pixels), hi = n, d = n;
        h.create_images(n, hi, d);
        for (int x = 0; x < pixels.size(); ++x) {
            QCOMPARE(n.pixel(x, 0), with_alpha(normal, qAlpha(pixels[x])));
            QCOMPARE(hi.pixel(x, 0), with_alpha(light, qAlpha(pixels[x])));
            QCOMPARE(d.pixel(x, 0), with_alpha(normal, qAlpha(pixels[x]) >> 1)); // 1 becomes 0
        }
    }

    void message_box_default_button_data()
    {
        using box = QMessageBox;
        QTest::addColumn<box::StandardButtons>("buttons");
        QTest::addColumn<int>("default_button");
        QTest::addColumn<QString>("expected");
        QTest::newRow("none given, cancel first in mask order") << (box::Cancel | box::Ok) << int(box::NoButton) << "OK";
        QTest::newRow("none given, no accepting button") << (box::No | box::Cancel) << int(box::NoButton) << "";
        QTest::newRow("chosen one absent") << box::StandardButtons(box::Ok) << int(box::Cancel) << "";
    }

    void message_box_default_button()
    {
        QFETCH(QMessageBox::StandardButtons, buttons);
        QFETCH(int, default_button);
        auto seen = answer_next_box("close");
        ondo::message_box::warning(nullptr, "Title", "Text", buttons, QMessageBox::StandardButton(default_button));
        QVERIFY(seen->answered);
        QTEST(seen->default_button, "expected");
    }

    void message_box_answers_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<int>("expected");
        QTest::newRow("relabelled yes") << "Keep changes" << int(QMessageBox::Yes);
        QTest::newRow("window control on yes/no") << "close" << int(QMessageBox::Cancel);
    }

    void message_box_answers()
    {
        QFETCH(QString, answer);
        auto seen = answer_next_box(answer);
        QTEST(int(ondo::message_box::question(nullptr, "Fix", "Some files failed.", "Keep changes", "Undo Changes")),
              "expected");
        QVERIFY(seen->answered);
    }

    // All three components come from this one repository, so they carry one revision; the
    // versions stand in one column, whatever the length of the component's name.
    void information_box_on_shortcut()
    {
        const QString revision = QString::fromStdString(git_version::version());
        const QString versions = QString::fromStdString(git_version::versions_formatted());
        QCOMPARE(versions, QString("Component: application\tVersion: %1\nComponent: ondo_infrastructure\tVersion: %1\n"
                                   "Component: ondo_toolkit\tVersion: %1\n").arg(revision));
        QWidget parent;
        ondo::application_information_box::install(&parent, {{"b", "2"}, {"a", "1"}});
        auto* shortcut = parent.findChild<QShortcut*>();
        QVERIFY(shortcut);
        QVector<qreal> columns; // where the text after each tab begins, per line
        const auto seen = answer_next_box("OK", [&](QDialog* box) {
            auto* label = box->findChild<QLabel*>("qt_msgbox_label");
            const QTextDocument* document = label ? label->findChild<QTextDocument*>() : nullptr;
            for (QTextBlock block = document ? document->begin() : QTextBlock(); block.isValid(); block = block.next())
                if (block.text().startsWith("Component: ") && block.text().contains('\t'))
                    columns << block.layout()->lineAt(0).cursorToX(block.text().indexOf('\t') + 1);
        });
        QMetaObject::invokeMethod(shortcut, "activated");
        QCOMPARE(columns, QVector<qreal>(3, columns.value(0)));
        QCOMPARE(seen->title, QString("Application Information"));
        const QRegularExpression text("^OS: " + QRegularExpression::escape(QSysInfo::prettyProductName()) + "\nABI: "
            + QRegularExpression::escape(QSysInfo::buildAbi()) + "\n(gcc|clang) Version: \"\\d+\\.\\d+\\.\\d+\"\n\n"
            "Application: Tavimo\nVersion: 2\\.1\\.2\nBuild: [A-Z][a-z]{2} [ 1-3]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d\n\n"
            + QRegularExpression::escape(versions) + "\na:\t\t1\nb:\t\t2\n$");
        QVERIFY2(text.match(seen->text).hasMatch(), qPrintable(seen->text));
    }

    // The about box with the build's revision, and the credits that its line opens.
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
    QCoreApplication::setApplicationVersion("2.1.2");
    tst_widgets test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_widgets.moc"
