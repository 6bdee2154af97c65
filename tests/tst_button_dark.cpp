#include <ondo/button_dark.h>

#include <QtTest>

using ondo::button_dark;
using ondo::pixel_argb;

namespace {

QImage row_of(const QVector<QRgb>& pixels)
{
    QImage image(pixels.size(), 1, QImage::Format_ARGB32);
    for (int x = 0; x < pixels.size(); ++x)
        image.setPixel(x, 0, pixels[x]);
    return image;
}

} // namespace

class tst_button_dark : public QObject {
    Q_OBJECT
private slots:
    void recolour_monochrome()
    {
        const QVector<QRgb> pixels{qRgba(10, 20, 30, 255), qRgba(200, 0, 0, 128), qRgba(0, 0, 0, 1), 0};
        button_dark::img_highlighter h;
        h.normal = pixel_argb(129, 136, 133);
        h.highlight = pixel_argb(240, 241, 242);
        QImage normal = row_of(pixels), highlight = normal, disabled = normal;
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

        QTest::newRow("first of equally near")
            << QVector<QRgb>{qRgb(0, 0, 0), qRgb(110, 100, 100), qRgb(100, 100, 90)} << qRgb(100, 100, 100)
            << qRgb(150, 150, 150) << QVector<QRgb>{qRgb(40, 50, 50), qRgb(150, 150, 150), qRgb(140, 150, 140)};
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
};

QTEST_MAIN(tst_button_dark)
#include "tst_button_dark.moc"
