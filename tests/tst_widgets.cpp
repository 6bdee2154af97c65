#include "mainwindow.h"

#include "test_support.h"
#include "window_test.h"

#include <ondo/application.h>
#include <ondo/application_information_box.h>
#include <ondo/button_dark.h>
#include <ondo/git_version.h>
#include <ondo/layout.h>
#include <ondo/message_box.h>
#include <ondo/widget_fold.h>
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

#include <functional>

namespace p = ondo::qt::property;
using ondo::make_property_vector;
using ondo::qt::layout;
using test_support::answer_next_box;
using build = std::function<QWidget*(layout&)>;
Q_DECLARE_METATYPE(build)
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

QString place_of(QWidget* w)
{
    const ondo::qt::cell* c = layout::widgets_in_cells.at(w);
    return QString("%1,%2").arg(c->column).arg(c->row);
}

QStringList label_texts(QDialog* dialog)
{
    QStringList texts;
    for (QLabel* label : dialog->findChildren<QLabel*>())
        texts << label->text();
    return texts;
}

} // namespace

// The toolkit's widgets, boxes and layout; the about box last, as it opens the main window.
class tst_widgets : public test_support::window_test {
    Q_OBJECT
private slots:
    void combobox_wheel_data()
    {
        QTest::addColumn<bool>("ignore_wheel");
        QTest::addColumn<int>("expected_index");
        QTest::newRow("ignoring") << true << 1;
        QTest::newRow("taking") << false << 2;
    }

    void combobox_wheel()
    {
        QFETCH(bool, ignore_wheel);
        ondo::combobox box(ignore_wheel, nullptr);
        box.addItems({"a", "b", "c"});
        box.setCurrentIndex(1);
        box.show();
        const QPoint centre = box.rect().center();
        QWheelEvent wheel(centre, box.mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(&box, &wheel);
        QTEST(box.currentIndex(), "expected_index");
    }

    void clickable_label_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("clicks");
        QTest::newRow("left") << int(Qt::LeftButton) << 1;
        QTest::newRow("right") << int(Qt::RightButton) << 0;
    }

    void clickable_label()
    {
        QFETCH(int, button);
        QFETCH(int, clicks);
        ondo::clickable_label label("About", true, nullptr);
        label.show();
        QSignalSpy spy(&label, &ondo::clickable_label::clicked);
        Qt::KeyboardModifiers at_click;
        connect(&label, &ondo::clickable_label::clicked, [&] { at_click = label.modifiers; });
        QTest::mouseClick(&label, Qt::MouseButton(button), Qt::ControlModifier);
        QCOMPARE(spy.count(), clicks);
        if (clicks)
            QCOMPARE(at_click, Qt::ControlModifier);
        QCOMPARE(label.modifiers, Qt::NoModifier);
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

    // Monochrome art takes the colours given at its own alpha; multicolour art keeps its pixels and
    // is highlighted by the shift from the pixel nearest to `normal` to `highlight`. Disabled art
    // is half as opaque.
    void recolour_data()
    {
        QTest::addColumn<bool>("multicolor");
        QTest::addColumn<QVector<QRgb>>("pixels");
        QTest::addColumn<QRgb>("normal");
        QTest::addColumn<QRgb>("highlight");
        QTest::addColumn<QVector<QRgb>>("highlighted");
        const QRgb light = qRgb(240, 241, 242);
        QTest::newRow("monochrome") << false << QVector<QRgb>{qRgba(10, 20, 30, 255), qRgba(200, 0, 0, 128), qRgba(0, 0, 0, 1), 0}
                                    << qRgb(129, 136, 133) << light << QVector<QRgb>{light, light, light, light};
        QTest::newRow("first of equally near")
            << true << QVector<QRgb>{qRgba(0, 0, 0, 200), qRgba(110, 100, 100, 200), qRgba(100, 100, 90, 200)}
            << qRgb(100, 100, 100) << qRgb(150, 150, 150) << QVector<QRgb>{qRgb(40, 50, 50), qRgb(150, 150, 150), qRgb(140, 150, 140)};
        QTest::newRow("clamped both ways") << true << QVector<QRgb>{qRgba(20, 20, 20, 200), qRgba(250, 5, 128, 200)}
                                           << qRgb(20, 20, 20) << qRgb(60, 0, 20) << QVector<QRgb>{qRgb(60, 0, 20), qRgb(255, 0, 128)};
    }

    void recolour()
    {
        QFETCH(bool, multicolor);
        QFETCH(QVector<QRgb>, pixels);
        QFETCH(QRgb, normal);
        QFETCH(QRgb, highlight);
        QFETCH(QVector<QRgb>, highlighted);
        ondo::button_dark::img_highlighter h;
        h.multicolor = multicolor;
        h.normal = ondo::pixel_argb(normal);
        h.highlight = ondo::pixel_argb(highlight);
        QImage n = row_of(pixels), hi = n, d = n;
        h.create_images(n, hi, d);
        for (int x = 0; x < pixels.size(); ++x) {
            const QRgb plain = multicolor ? pixels[x] : with_alpha(normal, qAlpha(pixels[x]));
            QCOMPARE(n.pixel(x, 0), plain);
            QCOMPARE(hi.pixel(x, 0), with_alpha(highlighted[x], qAlpha(pixels[x])));
            QCOMPARE(d.pixel(x, 0), with_alpha(plain, qAlpha(pixels[x]) >> 1)); // 1 becomes 0
        }
    }

    void layout_cursor_data()
    {
        QTest::addColumn<int>("wrap");
        QTest::addColumn<QStringList>("adds");
        QTest::addColumn<QString>("places");
        QTest::newRow("wrap 2") << 2 << QStringList{"", "", ""} << "0,0 1,0 0,1";
        QTest::newRow("span 2 without wrap") << 0 << QStringList{"span", ""} << "0,0 2,0";
        QTest::newRow("newline without wrap") << 0 << QStringList{"", "newline", ""} << "0,0 1,0 0,1";
    }

    void layout_cursor()
    {
        QFETCH(int, wrap);
        QFETCH(QStringList, adds);
        QWidget parent;
        auto* l = new layout(&parent, wrap);
        QStringList places;
        for (const QString& kind : adds) {
            auto* w = new QWidget;
            if (kind == "span")
                l->add(w, {}, (p::column_span(2), make_property_vector()));
            else if (kind == "newline")
                l->add(w, {}, p::newline);
            else
                l->add(w);
            places << place_of(w);
        }
        QTEST(places.join(' '), "places");
    }

    void layout_placement_data()
    {
        QTest::addColumn<build>("fill");
        QTest::addColumn<QRect>("geometry");
        const auto fixed_column = [](int width) { return (p::column_width(width), make_property_vector()); };
        QTest::newRow("flexible columns beside a fixed one") << build([=](layout& l) {
            l.add(new QWidget, {}, fixed_column(100));
            l.add(new QWidget);
            return l.add(new QWidget);
        }) << QRect(200, 0, 100, 100);
        QTest::newRow("an empty cell takes no room") << build([](layout& l) { return l.add(new QWidget, 1, 0); })
                                                     << QRect(0, 0, 150, 100);
        QTest::newRow("fixed width without margins is centred") << build([=](layout& l) {
            return l.add(new QWidget, {}, (p::width(40), fixed_column(100)));
        }) << QRect(30, 0, 40, 100);
    }

    void layout_placement()
    {
        QFETCH(build, fill);
        QWidget parent;
        parent.resize(300, 100);
        auto* l = new layout(&parent);
        QWidget* w = fill(*l);
        l->setGeometry(QRect());
        QTEST(w->geometry(), "geometry");
    }

    void layout_places_the_same_size_four_times_more_then_not_until_it_changes()
    {
        QWidget parent;
        parent.resize(300, 100);
        auto* l = new layout(&parent);
        QWidget* w = l->add(new QWidget);
        int placed = 0;
        for (int pass = 0; pass < 8; ++pass) {
            w->move(7, 7);
            l->setGeometry(QRect());
            placed += w->pos() == QPoint(0, 0);
        }
        QCOMPARE(placed, 5);
        parent.resize(200, 100);
        l->setGeometry(QRect());
        QCOMPARE(w->geometry(), QRect(0, 0, 200, 100));
    }

    void layout_counts_content_and_covered_places()
    {
        QWidget parent;
        auto* l = new layout(&parent);
        l->add(new QWidget, {}, (p::column_span(2), make_property_vector()));
        QWidget* second = l->add(new QWidget, 0, 2);
        QWidget* third = l->add(new QWidget);
        // (1,0) is covered; (0,1), (1,1) and (1,2) are plain empty cells.
        QCOMPARE(l->count(), 4);
        QVERIFY(l->itemAt(1)->widget() == nullptr);
        QCOMPARE(l->itemAt(2)->widget(), third);
        QCOMPARE(l->itemAt(3)->widget(), second);
    }

    void fold_and_open_again_data()
    {
        QTest::addColumn<QString>("given_button");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("own button") << QString() << QStringList{"unfold", "fold"};
        QTest::newRow("given button keeps its text") << "Details" << QStringList{"Details", "Details"};
    }

    void fold_and_open_again()
    {
        QFETCH(QString, given_button);
        QFETCH(QStringList, texts);
        QWidget outside;
        outside.resize(300, 400);
        auto* outer = new layout(&outside, 1);
        auto* fold = new ondo::qt::widget_fold("Title", given_button.isEmpty() ? nullptr : new QPushButton(given_button), 0, 25);
        outer->add(fold, {}, (p::row_height(200), make_property_vector()));
        outer->add(new QWidget);
        outside.show();
        QVERIFY(QTest::qWaitForWindowExposed(&outside));
        QTest::mouseClick(fold->button, Qt::LeftButton);
        QCOMPARE(outer->row_heights[0], 25);
        QCOMPARE(fold->button->text(), texts[0]);
        QTest::mouseClick(fold->button, Qt::LeftButton);
        QCOMPARE(outer->row_heights[0], 200);
        QCOMPARE(fold->height(), 200);
        QCOMPARE(fold->button->text(), texts[1]);
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
        QTest::addColumn<QString>("logged");
        QTest::newRow("relabelled yes") << "Keep changes" << int(QMessageBox::Yes) << "Keep changes";
        QTest::newRow("window control on yes/no") << "close" << int(QMessageBox::Cancel) << "Cancel";
    }

    void message_box_answers()
    {
        QFETCH(QString, answer);
        QFETCH(QString, logged);
        ondo::message_box::verbose = true;
        const auto quiet = qScopeGuard([] { ondo::message_box::verbose = false; });
        QTest::ignoreMessage(QtDebugMsg, qPrintable("MessageBox \"Fix\" \"Some files failed.\": " + logged));
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
        QList<qreal> columns; // where the text after each tab begins, per line
        const auto seen = answer_next_box("OK", [&](QDialog* box) {
            auto* label = box->findChild<QLabel*>("qt_msgbox_label");
            const QTextDocument* document = label ? label->findChild<QTextDocument*>() : nullptr;
            for (QTextBlock block = document ? document->begin() : QTextBlock(); block.isValid(); block = block.next())
                if (block.text().startsWith("Component: ") && block.text().contains('\t'))
                    columns << block.layout()->lineAt(0).cursorToX(block.text().indexOf('\t') + 1);
        });
        QMetaObject::invokeMethod(shortcut, "activated");
        QCOMPARE(columns.size(), 3);
        QCOMPARE(columns.at(1), columns.at(0));
        QCOMPARE(columns.at(2), columns.at(0));
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
