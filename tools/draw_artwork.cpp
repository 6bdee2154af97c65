// Draws every picture of the dark theme at build time, so that the artwork lives in the
// repository as code and comes out the same on every build.
//
//   tavimo_draw_artwork <output folder> <font folder>
//
// Writes gui/... (the toolkit's frames and glyphs) and images/... (the application's icons,
// logo, header and drop pictures) below the output folder. Icons are white with their shape in
// the alpha channel: buttons recolour them and keep only the alpha.

#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <cstdio>
#include <functional>

namespace {

QString output_dir;
int failures = 0;

const QColor text_color(198, 213, 210);
const QColor panel_color(47, 47, 47);
const QColor field_color(38, 38, 38);
const QColor control_border(99, 99, 99);
const QColor link_color(0x72, 0x8a, 0x84);

void save(const QImage& image, const QString& relative_path)
{
    const QString path = output_dir + "/" + relative_path;
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!image.convertToFormat(QImage::Format_ARGB32).save(path, "PNG")) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        ++failures;
    }
}

QImage canvas(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void draw(QImage& image, const std::function<void(QPainter&)>& paint)
{
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    paint(p);
}

// ---------------------------------------------------------------------------------------------
// Frames: 3-pixel border images that the sheets stretch ("... 3 stretch"). Edges are uniform
// along their length and the face shades only vertically, so any stretch keeps them clean.

struct frame_colors {
    QColor outline;
    QColor rim_top;
    QColor rim_bottom;
    QColor face_top;
    QColor face_bottom;
};

QImage button_frame(const frame_colors& c)
{
    const int w = 12, h = 24;
    QImage image = canvas(w, h);
    draw(image, [&](QPainter& p) {
        p.setRenderHint(QPainter::Antialiasing, false);
        QLinearGradient face(0, 1, 0, h - 1);
        face.setColorAt(0, c.face_top);
        face.setColorAt(1, c.face_bottom);
        p.fillRect(1, 1, w - 2, h - 2, face);
        // Rim: a lighter line just inside the top edge and a darker one inside the bottom edge.
        p.fillRect(2, 1, w - 4, 1, c.rim_top);
        p.fillRect(2, h - 2, w - 4, 1, c.rim_bottom);
        // Outline with cut corners, which reads as a slightly rounded button.
        p.fillRect(1, 0, w - 2, 1, c.outline);
        p.fillRect(1, h - 1, w - 2, 1, c.outline);
        p.fillRect(0, 1, 1, h - 2, c.outline);
        p.fillRect(w - 1, 1, 1, h - 2, c.outline);
        QColor corner = c.outline;
        corner.setAlpha(corner.alpha() / 3);
        for (const QPoint& pt : {QPoint(0, 0), QPoint(w - 1, 0), QPoint(0, h - 1), QPoint(w - 1, h - 1)})
            p.fillRect(QRect(pt, QSize(1, 1)), corner);
    });
    return image;
}

void draw_button_frames()
{
    save(button_frame({QColor(16, 16, 16), QColor(96, 96, 96), QColor(44, 44, 44),
             QColor(76, 76, 76), QColor(54, 54, 54)}),
        "gui/button/dark_normal.png");
    save(button_frame({QColor(10, 10, 10), QColor(26, 26, 26), QColor(52, 52, 52),
             QColor(34, 34, 34), QColor(44, 44, 44)}),
        "gui/button/dark_pressed.png");
    // Header buttons sit on the header picture: a translucent face lets its shading through.
    save(button_frame({QColor(0, 0, 0, 200), QColor(255, 255, 255, 46), QColor(0, 0, 0, 40),
             QColor(255, 255, 255, 30), QColor(255, 255, 255, 8)}),
        "gui/button/header_normal.png");
    save(button_frame({QColor(0, 0, 0, 230), QColor(0, 0, 0, 90), QColor(255, 255, 255, 20),
             QColor(0, 0, 0, 110), QColor(0, 0, 0, 60)}),
        "gui/button/header_pressed.png");
    // Blank buttons show nothing at rest and a soft sunken face while pressed.
    save(canvas(12, 24), "gui/button/blank_normal.png");
    save(button_frame({QColor(0, 0, 0, 90), QColor(0, 0, 0, 60), QColor(255, 255, 255, 12),
             QColor(0, 0, 0, 70), QColor(0, 0, 0, 40)}),
        "gui/button/blank_pressed.png");
}

// The panel frame: a dark outline, a light bevel on top and left, a shaded one on bottom and
// right, then the panel colour. `topless` leaves the top rows open so a panel can continue the
// one above it.
QImage panel_border(bool topless)
{
    const int n = 9;
    QImage image(n, n, QImage::Format_ARGB32_Premultiplied);
    image.fill(panel_color);
    const QColor outline(16, 16, 16), light(72, 72, 72), shade(36, 36, 36);
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const int top = topless ? 99 : y;
            const int ring = qMin(qMin(x, top), qMin(n - 1 - x, n - 1 - y));
            if (ring == 0)
                image.setPixelColor(x, y, outline);
            else if (ring == 1) {
                // The light edges win the corner they share with the dark ones diagonally.
                const bool light_side = (x == 1 && y < n - 2) || (!topless && y == 1 && x < n - 2);
                image.setPixelColor(x, y, light_side ? light : shade);
            }
        }
    }
    return image;
}

// ---------------------------------------------------------------------------------------------
// Indicators for radio buttons and check boxes, 15 by 15.

struct indicator_colors {
    QColor border;
    QColor face;
    QColor mark;
};

const indicator_colors enabled_indicator{QColor(122, 128, 126), field_color, text_color};
const indicator_colors disabled_indicator{QColor(72, 72, 72), panel_color, QColor(100, 100, 100)};

QImage radio(const indicator_colors& c, bool checked)
{
    QImage image = canvas(15, 15);
    draw(image, [&](QPainter& p) {
        p.setPen(QPen(c.border, 1.0));
        p.setBrush(c.face);
        p.drawEllipse(QPointF(7.5, 7.5), 6.5, 6.5);
        if (checked) {
            p.setPen(Qt::NoPen);
            p.setBrush(c.mark);
            p.drawEllipse(QPointF(7.5, 7.5), 3.5, 3.5);
        }
    });
    return image;
}

QPainterPath check_mark_path(const QRectF& r)
{
    QPainterPath path;
    path.moveTo(r.left(), r.top() + r.height() * 0.55);
    path.lineTo(r.left() + r.width() * 0.38, r.bottom());
    path.lineTo(r.right(), r.top());
    return path;
}

QImage checkbox(const indicator_colors& c, bool checked)
{
    QImage image = canvas(15, 15);
    draw(image, [&](QPainter& p) {
        p.setPen(QPen(c.border, 1.0));
        p.setBrush(c.face);
        p.drawRoundedRect(QRectF(0.5, 0.5, 14, 14), 2, 2);
        if (checked) {
            p.setPen(QPen(c.mark, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(Qt::NoBrush);
            p.drawPath(check_mark_path(QRectF(3.5, 4, 8, 7)));
        }
    });
    return image;
}

QImage triangle(int width, int height, bool down, const QColor& color)
{
    QImage image = canvas(width, height);
    draw(image, [&](QPainter& p) {
        p.setPen(Qt::NoPen);
        p.setBrush(color);
        QPolygonF t;
        if (down)
            t << QPointF(0.5, 0.5) << QPointF(width - 0.5, 0.5) << QPointF(width / 2.0, height - 0.5);
        else
            t << QPointF(0.5, 0.5) << QPointF(width - 0.5, height / 2.0) << QPointF(0.5, height - 0.5);
        p.drawPolygon(t);
    });
    return image;
}

void draw_indicators()
{
    save(radio(enabled_indicator, true), "gui/radio/checked.png");
    save(radio(enabled_indicator, false), "gui/radio/unchecked.png");
    save(radio(disabled_indicator, true), "gui/radio/disabled_checked.png");
    save(radio(disabled_indicator, false), "gui/radio/disabled_unchecked.png");
    save(checkbox(enabled_indicator, true), "gui/checkbox/checked.png");
    save(checkbox(enabled_indicator, false), "gui/checkbox/unchecked.png");
    save(checkbox(disabled_indicator, true), "gui/checkbox/disabled_checked.png");
    save(checkbox(disabled_indicator, false), "gui/checkbox/disabled_unchecked.png");
    // Small glyphs for fold-outs and custom check boxes, white so that they can be recoloured.
    save(triangle(7, 9, false, Qt::white), "gui/checkbox/arrow_right.png");
    save(triangle(9, 7, true, Qt::white), "gui/checkbox/arrow_down.png");
    QImage check = canvas(12, 12);
    draw(check, [](QPainter& p) {
        p.setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPath(check_mark_path(QRectF(1.5, 2, 9, 8)));
    });
    save(check, "gui/checkbox/check.png");
    save(triangle(9, 5, true, text_color), "gui/combobox/arrow.png");
}

// ---------------------------------------------------------------------------------------------
// Icons: white shapes; the alpha channel is all that counts.

QImage icon(int width, int height, const std::function<void(QPainter&)>& paint)
{
    QImage image = canvas(width, height);
    draw(image, [&](QPainter& p) {
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        paint(p);
    });
    return image;
}

QPainterPath gear_path(QPointF center, qreal outer, qreal root, qreal hole, int teeth)
{
    QPainterPath path;
    // Each tooth: a flat top spanning a quarter of its pitch, flanks, and a flat root.
    const qreal pitch = 2 * M_PI / teeth;
    QPolygonF outline;
    for (int i = 0; i < teeth; ++i) {
        const qreal a = i * pitch - M_PI / 2;
        const qreal angles[4] = {a - pitch * 0.16, a + pitch * 0.16, a + pitch * 0.34, a + pitch * 0.66};
        const qreal radii[4] = {outer, outer, root, root};
        for (int k = 0; k < 4; ++k)
            outline << center + QPointF(qCos(angles[k]) * radii[k], qSin(angles[k]) * radii[k]);
    }
    // Rotate the list so that the root flank that closes the polygon leads into the first tooth.
    path.addPolygon(outline);
    path.closeSubpath();
    path.addEllipse(center, hole, hole);
    path.setFillRule(Qt::OddEvenFill);
    return path;
}

// A solid disc with a glyph cut out of it: reads clearly even at 16 pixels.
QImage disc_with_glyph(int size, const QString& glyph, qreal glyph_pixels, QPointF nudge)
{
    return icon(size, size, [&](QPainter& p) {
        const qreal r = size / 2.0;
        p.drawEllipse(QPointF(r, r), r - 0.5, r - 0.5);
        QFont font("FreeSans");
        font.setBold(true);
        font.setPixelSize(qRound(glyph_pixels));
        QPainterPath text;
        text.addText(0, 0, font, glyph);
        const QRectF box = text.boundingRect();
        text.translate(r - box.center().x() + nudge.x(), r - box.center().y() + nudge.y());
        p.setCompositionMode(QPainter::CompositionMode_Clear);
        p.drawPath(text);
    });
}

QImage info_icon(int size)
{
    // Drawn rather than typeset, so the dot and stem stay crisp at 16 pixels.
    return icon(size, size, [&](QPainter& p) {
        const qreal r = size / 2.0;
        p.drawEllipse(QPointF(r, r), r - 0.5, r - 0.5);
        p.setCompositionMode(QPainter::CompositionMode_Clear);
        const qreal unit = size / 16.0;
        p.drawEllipse(QPointF(r, 4.3 * unit), 1.3 * unit, 1.3 * unit);
        p.drawRect(QRectF(r - 1.1 * unit, 6.6 * unit, 2.2 * unit, 6.4 * unit));
    });
}

// The back-and-round arrow of undo: a stroke that leaves to the left at the top, turns down and
// around, and comes back below.
QImage undo_icon(int size, qreal stroke)
{
    return icon(size, size, [&](QPainter& p) {
        const qreal u = size / 16.0;
        QPainterPath curve;
        curve.moveTo(4.6 * u, 5.0 * u);
        curve.lineTo(9.5 * u, 5.0 * u);
        curve.arcTo(QRectF(6.0 * u, 5.0 * u, 8.0 * u, 8.0 * u), 90, -180);
        curve.lineTo(5.0 * u, 13.0 * u);
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::white, stroke * u, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
        p.drawPath(curve);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        QPolygonF head;
        head << QPointF(0.6 * u, 5.0 * u) << QPointF(5.4 * u, 1.0 * u) << QPointF(5.4 * u, 9.0 * u);
        p.drawPolygon(head);
    });
}

QImage open_icon()
{
    // An open folder: the back with its tab, and the front flap tilted forward.
    return icon(16, 16, [](QPainter& p) {
        QPainterPath back;
        back.moveTo(0.5, 2.5);
        back.lineTo(5.5, 2.5);
        back.lineTo(7.0, 4.0);
        back.lineTo(13.5, 4.0);
        back.lineTo(13.5, 6.5);
        back.lineTo(2.0, 6.5);
        back.lineTo(0.5, 12.5);
        back.closeSubpath();
        p.drawPath(back);
        QPainterPath front;
        front.moveTo(3.0, 7.5);
        front.lineTo(15.5, 7.5);
        front.lineTo(13.0, 14.0);
        front.lineTo(0.5, 14.0);
        front.closeSubpath();
        p.drawPath(front);
    });
}

// A clock face with hands, as an outline, for the time icons and the logo.
void draw_clock(QPainter& p, QPointF c, qreal r, qreal ring, const QColor& color, bool ticks)
{
    p.save();
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(color, ring));
    p.drawEllipse(c, r - ring / 2, r - ring / 2);
    p.setPen(QPen(color, ring * 0.9, Qt::SolidLine, Qt::RoundCap));
    if (ticks) {
        for (int i = 0; i < 12; i += 3) {
            const qreal a = i * M_PI / 6;
            const QPointF dir(qSin(a), -qCos(a));
            p.drawLine(c + dir * (r * 0.72), c + dir * (r * 0.80));
        }
    }
    p.drawLine(c, c + QPointF(0, -r * 0.58));
    p.drawLine(c, c + QPointF(r * 0.42, r * 0.18));
    p.restore();
}

QImage fix_time_icon()
{
    // Clock, arrow, photo: the new time goes into the pictures.
    return icon(80, 30, [](QPainter& p) {
        draw_clock(p, QPointF(15, 15), 14, 2.6, Qt::white, true);
        // Arrow
        p.setPen(QPen(Qt::white, 2.6, Qt::SolidLine, Qt::FlatCap));
        p.drawLine(QPointF(34, 15), QPointF(44, 15));
        p.setPen(Qt::NoPen);
        QPolygonF head;
        head << QPointF(49, 15) << QPointF(42, 9.5) << QPointF(42, 20.5);
        p.drawPolygon(head);
        // Photo: a frame with a mountain and a sun inside.
        const QRectF frame(53.3, 4.3, 25.4, 21.4);
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::white, 2.6, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        p.drawRect(frame);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        QPolygonF hills;
        hills << QPointF(55, 24) << QPointF(62, 14) << QPointF(67, 20) << QPointF(70, 17)
              << QPointF(77, 24);
        p.drawPolygon(hills);
        p.drawEllipse(QPointF(71.5, 10.5), 2.6, 2.6);
    });
}

void draw_icons()
{
    save(icon(16, 16, [](QPainter& p) { p.drawPath(gear_path(QPointF(8, 8), 7.8, 5.6, 2.4, 8)); }),
        "images/icon_settings.png");
    save(info_icon(16), "images/icon_about.png");
    save(disc_with_glyph(16, "?", 13.5, QPointF(0.2, 0)), "images/icon_help.png");
    save(open_icon(), "images/icon_open.png");
    save(undo_icon(16, 2.5), "images/icon_undo_small.png");
    save(undo_icon(30, 2.1), "images/icon_undo.png");
    save(fix_time_icon(), "images/icon_fix_time.png");
    // The application's own drop-down glyphs, in the text colour.
    save(triangle(9, 5, true, text_color), "images/dropdown_arrow.png");
    QImage dropdown = canvas(16, 16);
    draw(dropdown, [](QPainter& p) {
        p.setPen(QPen(text_color, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(QPolygonF() << QPointF(3.5, 6) << QPointF(8, 10.5) << QPointF(12.5, 6));
    });
    save(dropdown, "images/dropdown.png");
}

// ---------------------------------------------------------------------------------------------
// Logo, header and the drop pictures.

QImage logo(qreal scale)
{
    const int w = qRound(216 * scale), h = qRound(48 * scale);
    QImage image = canvas(w, h);
    draw(image, [&](QPainter& p) {
        p.scale(scale, scale);
        // Right-aligned: the logo closes the header on its right.
        const QPointF c(40, 24);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0x72, 0x8a, 0x84, 70));
        p.drawEllipse(c, 17, 17);
        draw_clock(p, c, 17, 2.4, text_color, true);
        QFont font("FreeSans");
        font.setBold(true);
        font.setPixelSize(30);
        font.setLetterSpacing(QFont::AbsoluteSpacing, 0.5);
        p.setFont(font);
        p.setPen(QColor(226, 232, 230));
        p.drawText(QRectF(64, 0, 150, 46), Qt::AlignLeft | Qt::AlignVCenter, "Tavimo");
    });
    return image;
}

QImage header(int height, bool shadow)
{
    // Only vertical shading: the sheet tiles it across the window's width.
    QImage image(64, height, QImage::Format_ARGB32_Premultiplied);
    draw(image, [&](QPainter& p) {
        QLinearGradient g(0, 0, 0, height);
        g.setColorAt(0, QColor(64, 66, 66));
        g.setColorAt(0.5, QColor(42, 44, 44));
        g.setColorAt(1, QColor(24, 25, 25));
        p.fillRect(image.rect(), g);
        p.fillRect(0, 0, 64, 1, QColor(86, 90, 89));
        p.fillRect(0, height - 1, 64, 1, QColor(8, 8, 8));
        if (shadow) {
            QLinearGradient s(0, height - 12, 0, height);
            s.setColorAt(0, QColor(0, 0, 0, 0));
            s.setColorAt(1, QColor(0, 0, 0, 150));
            p.fillRect(0, height - 12, 64, 12, s);
        }
    });
    return image;
}

// The drop picture is anchored bottom centre in the drop area; it is large and transparent
// around its content, so that the area looks the same at any window size.
QImage drop_picture(const QString& text)
{
    const int w = 1600, h = 600;
    QImage image = canvas(w, h);
    draw(image, [&](QPainter& p) {
        const QColor ink(112, 120, 118);
        const qreal cx = w / 2.0;
        // A tray with an arrow dropping into it, kept low and compact: the drop area's own
        // buttons sit near its top, and the area may be no more than 175 pixels high.
        const qreal top = h - 100;
        p.setPen(QPen(ink, 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(Qt::NoBrush);
        QPolygonF tray;
        tray << QPointF(cx - 22, top + 22) << QPointF(cx - 22, top + 38) << QPointF(cx + 22, top + 38)
             << QPointF(cx + 22, top + 22);
        p.drawPolyline(tray);
        p.drawLine(QPointF(cx, top), QPointF(cx, top + 26));
        p.drawPolyline(QPolygonF() << QPointF(cx - 9, top + 18) << QPointF(cx, top + 27)
                                   << QPointF(cx + 9, top + 18));
        QFont font("FreeSans");
        font.setPixelSize(24);
        p.setFont(font);
        p.setPen(ink);
        p.drawText(QRectF(0, top + 46, w, 32), Qt::AlignHCenter | Qt::AlignVCenter, text);
    });
    return image;
}

void draw_application_pictures()
{
    save(logo(1.0), "images/logo_small.png");
    save(logo(2.0), "images/logo.png");
    save(header(66, false), "images/head_medium_dark_without_shadow.png");
    save(header(97, true), "images/Head.png");
    save(drop_picture("Drop images here"), "images/drop_images_here_en.png");
    save(drop_picture(QString::fromUtf8("Bilder hier ablegen")), "images/drop_images_here_de.png");
}

} // namespace

int main(int argc, char** argv)
{
    // Text needs a GUI application; the build machine has no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <output folder> <font folder>\n", argv[0]);
        return 2;
    }
    output_dir = QString::fromLocal8Bit(argv[1]);
    const QString fonts = QString::fromLocal8Bit(argv[2]);
    for (const char* name : {"FreeSans.ttf", "FreeSansBold.ttf"}) {
        if (QFontDatabase::addApplicationFont(fonts + "/" + name) < 0) {
            std::fprintf(stderr, "cannot load font %s/%s\n", qPrintable(fonts), name);
            return 1;
        }
    }

    draw_button_frames();
    save(panel_border(false), "gui/panel/border.png");
    save(panel_border(true), "gui/panel/border_topless.png");
    draw_indicators();
    draw_icons();
    draw_application_pictures();
    return failures == 0 ? 0 : 1;
}
