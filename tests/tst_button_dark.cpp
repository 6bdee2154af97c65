#include <ondo/button_dark.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using ondo::button_dark;
using ondo::pixel_argb;
using setter = std::function<void(button_dark&)>;
Q_DECLARE_METATYPE(setter)

namespace {

QImage row_of(const QVector<QRgb>& pixels, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(pixels.size(), 1, format);
    for (int x = 0; x < pixels.size(); ++x)
        image.setPixel(x, 0, pixels[x]);
    return image;
}

} // namespace

class tst_button_dark : public QObject {
    Q_OBJECT
private slots:
    void recolour_monochrome_data()
    {
        QTest::addColumn<QVector<QRgb>>("pixels");
        QTest::addColumn<int>("format");
        QTest::newRow("alpha kept") << QVector<QRgb>{qRgba(10, 20, 30, 255), qRgba(200, 0, 0, 128), qRgba(0, 0, 0, 1), 0}
                                    << int(QImage::Format_ARGB32);
        QTest::newRow("no alpha channel") << QVector<QRgb>{qRgb(50, 60, 70)} << int(QImage::Format_RGB32);
    }

    void recolour_monochrome()
    {
        QFETCH(QVector<QRgb>, pixels);
        QFETCH(int, format);
        button_dark::img_highlighter h;
        h.normal = pixel_argb(129, 136, 133);
        h.highlight = pixel_argb(240, 241, 242);
        QImage normal = row_of(pixels, QImage::Format(format)), highlight = normal, disabled = normal;
        h.create_images(normal, highlight, disabled);

        for (int x = 0; x < pixels.size(); ++x) {
            const int alpha = qAlpha(pixels[x]);
            QCOMPARE(normal.pixel(x, 0), qRgba(129, 136, 133, alpha));
            QCOMPARE(highlight.pixel(x, 0), qRgba(240, 241, 242, alpha));
            QCOMPARE(disabled.pixel(x, 0), qRgba(129, 136, 133, alpha >> 1)); // 1 becomes 0
        }
    }

    // The highlighted picture is shifted by `highlight` minus the pixel nearest to `normal`.
    void recolour_multicolor_data()
    {
        QTest::addColumn<QVector<QRgb>>("pixels");
        QTest::addColumn<QRgb>("normal");
        QTest::addColumn<QRgb>("highlight");
        QTest::addColumn<QVector<QRgb>>("expected");

        QTest::newRow("nearest by channel sum")
            << QVector<QRgb>{qRgb(0, 0, 0), qRgb(90, 100, 100), qRgb(200, 200, 200)} << qRgb(100, 100, 100)
            << qRgb(110, 120, 130) << QVector<QRgb>{qRgb(20, 20, 30), qRgb(110, 120, 130), qRgb(220, 220, 230)};
        QTest::newRow("first of equally near")
            << QVector<QRgb>{qRgb(0, 0, 0), qRgb(110, 100, 100), qRgb(100, 100, 90)} << qRgb(100, 100, 100)
            << qRgb(150, 150, 150) << QVector<QRgb>{qRgb(40, 50, 50), qRgb(150, 150, 150), qRgb(140, 150, 140)};
        QTest::newRow("exact match after a near one")
            << QVector<QRgb>{qRgb(101, 100, 100), qRgb(100, 100, 100)} << qRgb(100, 100, 100) << qRgb(50, 60, 70)
            << QVector<QRgb>{qRgb(51, 60, 70), qRgb(50, 60, 70)};
        QTest::newRow("clamped both ways") << QVector<QRgb>{qRgb(20, 20, 20), qRgb(250, 5, 128)} << qRgb(20, 20, 20)
                                           << qRgb(60, 0, 20) << QVector<QRgb>{qRgb(60, 0, 20), qRgb(255, 0, 128)};
    }

    void recolour_multicolor()
    {
        QFETCH(QVector<QRgb>, pixels);
        QFETCH(QRgb, normal);
        QFETCH(QRgb, highlight);
        QFETCH(QVector<QRgb>, expected);
        button_dark::img_highlighter h;
        h.multicolor = true;
        h.normal = pixel_argb(normal);
        h.highlight = pixel_argb(highlight);
        for (QRgb& p : pixels)
            p = qRgba(qRed(p), qGreen(p), qBlue(p), 200);
        QImage n = row_of(pixels), hi = n, d = n;
        h.create_images(n, hi, d);

        for (int x = 0; x < pixels.size(); ++x) {
            const QRgb p = pixels[x];
            QCOMPARE(n.pixel(x, 0), p);
            QCOMPARE(hi.pixel(x, 0), qRgba(qRed(expected[x]), qGreen(expected[x]), qBlue(expected[x]), 200));
            QCOMPARE(d.pixel(x, 0), qRgba(qRed(p), qGreen(p), qBlue(p), 100));
        }
    }

    void missing_icon_keeps_picture_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing file") << "/nonexistent/icon.png";
        QTest::newRow("empty path") << "";
    }

    void missing_icon_keeps_picture()
    {
        QFETCH(QString, path);
        QTemporaryDir dir;
        const QString good = dir.filePath("good.png");
        QImage white(8, 8, QImage::Format_ARGB32);
        white.fill(Qt::white);
        QVERIFY(white.save(good));
        button_dark b;
        b.set_icon(good, -1, -1, 0xfff0f0f0, 0xff818885);

        QTest::ignoreMessage(QtWarningMsg, qPrintable(QString("Can't open icon: '%1'.").arg(path)));
        b.set_icon(path, -1, -1, 0xff00ff00, 0xff0000ff);
        QCOMPARE(b.icon.path, good);
        QCOMPARE(b.icon.width, 8);
        // The old picture stays, recoloured with the new colours.
        QCOMPARE(b.icon.normal_image->pixel(3, 3), qRgba(0, 0, 255, 255));
    }

    // Parts of the sheet that must be there, and parts that must not, each list split at "|".
    void style_sheet_data()
    {
        QTest::addColumn<setter>("apply");
        QTest::addColumn<QString>("present");
        QTest::addColumn<QString>("absent");
        auto row = [](const char* name, setter apply, const QString& present, const QString& absent) {
            QTest::newRow(name) << apply << present << absent;
        };
        auto sheet_of = [](const QString& sheet) { return setter([=](button_dark& b) { b.setStyleSheet(sheet); }); };
        const QString dark_disabled = "QPushButton::disabled{color:rgba(129,136,133,50%);}";
        row("as built", [](button_dark&) {}, "border-image:url(:/gui/button/dark_normal.png) 3 stretch|QPushButton::checked{|"
            "QPushButton::pressed{|text-align:center;|padding: 0.25em 1em;|" + dark_disabled, "%1|%2|%3|header");
        row("header type", [](button_dark& b) { b.set_type("header"); },
            "url(:/gui/button/header_normal.png)|url(:/gui/button/header_pressed.png)", "dark_");
        row("checked and pressed off", [](button_dark& b) { b.set_style(false, false, true, false); }, "dark_normal.png",
            "::checked|::pressed|dark_pressed.png");
        row("text colour", [](button_dark& b) { b.set_text_color(pixel_argb(10, 20, 30, 40)); },
            "color:rgba(10,20,30,40);|QPushButton::disabled{color:rgba(10,20,30,50%);}", dark_disabled + "|%3");
        row("text colour reset", [](button_dark& b) { b.set_text_color(pixel_argb(10, 20, 30, 40)), b.reset_text_color(); },
            dark_disabled, "10,20,30");
        row("extra padding", [](button_dark& b) { b.set_extra_padding(7); }, "padding-left: 7px; padding-right: 7px;", "%1");
        row("text align", [](button_dark& b) { b.set_text_align("left"); }, "text-align:left;", "text-align:center");
        ondo::button_dark_flat flat("x"), blank("x");
        blank.set_type("blank");
        row("flat before any setter", sheet_of(flat.styleSheet()), "dark_normal.png|color:rgb(198,213,210)", "146,152,148");
        row("flat after a setter", sheet_of(blank.styleSheet()),
            "color:rgb(146,152,148)|blank_normal.png|QPushButton::checked      {color:rgb(228,228,228);}",
            "dark_normal.png|%1|%2|%3");
        row("round at once", sheet_of(ondo::button_dark_round("x").styleSheet()),
            "border-radius:5px;|background-color:rgb(68,68,68);", "dark_normal.png");
    }

    void style_sheet()
    {
        QFETCH(setter, apply);
        QFETCH(QString, present);
        QFETCH(QString, absent);
        button_dark b("text");
        apply(b);
        const QString sheet = b.styleSheet();
        for (const QString& part : present.split('|'))
            QVERIFY2(sheet.contains(part), qPrintable(part + " missing in " + sheet));
        for (const QString& part : absent.split('|'))
            QVERIFY2(!sheet.contains(part), qPrintable(part + " present in " + sheet));
    }
};

QTEST_MAIN(tst_button_dark)
#include "tst_button_dark.moc"
