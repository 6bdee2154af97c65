// Draws every picture of the dark theme at build time, so that the artwork lives in the
// repository as code and comes out the same on every build.
//
//   tavimo_draw_artwork <output folder> <font folder>
//
// Writes gui/... (the toolkit's frames, glyphs and the pictures of its further widgets), images/... (the application's icons,
// logo, header and drop pictures) and icons/<size>.png (the program's icon for the desktop) below
// the output folder. Icons are white with their shape in
// the alpha channel: buttons recolour them and keep only the alpha.

#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QRadialGradient>
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

// 1 for the pictures themselves; 2 while their twice-as-fine drawings for high-density screens
// are made, which the same code draws in the same coordinates and saves as name@2x.png.
qreal ratio = 1.0;

void save(const QImage& image, const QString& relative_path)
{
    QString path = output_dir + "/" + relative_path;
    if (ratio != 1.0)
        path.insert(path.lastIndexOf('.'), QString("@%1x").arg(ratio));
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!image.convertToFormat(QImage::Format_ARGB32).save(path, "PNG")) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        ++failures;
    }
}

// A transparent picture of `width` by `height` in drawing coordinates, `ratio` times as many pixels.
QImage canvas(int width, int height)
{
    QImage image(qRound(width * ratio), qRound(height * ratio), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
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

// Empty the list: a sheet with a cross over its lower right corner, unlike the round arrow of undo.
QImage clear_icon(int size)
{
    return icon(size, size, [&](QPainter& p) {
        const qreal u = size / 16.0;
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::white, 1.6 * u, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
        p.drawRect(QRectF(1.8 * u, 1.8 * u, 8.4 * u, 10.4 * u));
        p.drawLine(QPointF(4.0 * u, 5.0 * u), QPointF(8.0 * u, 5.0 * u));
        p.drawLine(QPointF(4.0 * u, 8.0 * u), QPointF(6.5 * u, 8.0 * u));
        // The cross, cut free of the sheet's lines by a clear margin.
        QPainterPath cross;
        cross.moveTo(9.0 * u, 9.0 * u);
        cross.lineTo(14.6 * u, 14.6 * u);
        cross.moveTo(14.6 * u, 9.0 * u);
        cross.lineTo(9.0 * u, 14.6 * u);
        p.setCompositionMode(QPainter::CompositionMode_Clear);
        p.setPen(QPen(Qt::white, 4.6 * u, Qt::SolidLine, Qt::RoundCap));
        p.drawPath(cross);
        p.setCompositionMode(QPainter::CompositionMode_SourceOver);
        p.setPen(QPen(Qt::white, 2.2 * u, Qt::SolidLine, Qt::RoundCap));
        p.drawPath(cross);
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
    save(clear_icon(16), "images/icon_clear_small.png");
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
    QImage image = canvas(64, height);
    draw(image, [&](QPainter& p) {
        QLinearGradient g(0, 0, 0, height);
        g.setColorAt(0, QColor(64, 66, 66));
        g.setColorAt(0.5, QColor(42, 44, 44));
        g.setColorAt(1, QColor(24, 25, 25));
        p.fillRect(0, 0, 64, height, g);
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

// The program's icon for the desktop: the logo's clock on a dark tile, as the window looks.
QImage application_icon(int size)
{
    QImage image = canvas(size, size);
    draw(image, [&](QPainter& p) {
        p.scale(size / 48.0, size / 48.0);
        const QRectF tile(2, 2, 44, 44);
        QLinearGradient g(0, tile.top(), 0, tile.bottom());
        g.setColorAt(0, QColor(64, 66, 66));
        g.setColorAt(1, QColor(24, 25, 25));
        p.setBrush(g);
        p.setPen(QPen(control_border, size < 32 ? 1.5 : 1.0));
        p.drawRoundedRect(tile, 9, 9);
        const QPointF c(24, 24);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0x72, 0x8a, 0x84, 110));
        p.drawEllipse(c, 15, 15);
        // Small sizes drop the ticks, which would only blur the face.
        draw_clock(p, c, 15, size < 32 ? 3.2 : 2.4, text_color, size >= 32);
    });
    return image;
}

// The pictures that the window shows at their own size; the desktop icon comes in sizes of its own.
void draw_window_pictures()
{
    save(logo(1.0), "images/logo_small.png");
    save(header(66, false), "images/head_medium_dark_without_shadow.png");
    save(header(97, true), "images/Head.png");
}

// ---------------------------------------------------------------------------------------------
// The toolkit's further widget families, which this application doesn't show: fader, rotary
// knob, colour cone, graphics view, LEDs and the glyphs of round and small buttons. Same
// palette, same flat bevels, nothing more.

void draw_fader()
{
    // Groove: a sunken 3-pixel border image, stretched along the fader.
    QImage groove = canvas(12, 8);
    draw(groove, [](QPainter& p) {
        p.setRenderHint(QPainter::Antialiasing, false);
        p.fillRect(0, 0, 12, 8, QColor(16, 16, 16));
        p.fillRect(1, 1, 10, 6, QColor(30, 30, 30));
        p.fillRect(1, 6, 10, 1, QColor(64, 64, 64));
    });
    save(groove, "gui/fader/groove.png");
    // Handle: a small upright button face with a centre line.
    for (const bool pressed : {false, true}) {
        QImage handle = button_frame(pressed
                ? frame_colors{QColor(10, 10, 10), QColor(26, 26, 26), QColor(52, 52, 52), QColor(34, 34, 34), QColor(44, 44, 44)}
                : frame_colors{QColor(16, 16, 16), QColor(96, 96, 96), QColor(44, 44, 44), QColor(76, 76, 76), QColor(54, 54, 54)});
        handle = handle.scaled(14, 22);
        draw(handle, [](QPainter& p) {
            p.setRenderHint(QPainter::Antialiasing, false);
            p.fillRect(3, 10, 8, 1, QColor(20, 20, 20));
            p.fillRect(3, 11, 8, 1, QColor(110, 110, 110));
        });
        save(handle, pressed ? "gui/fader/handle_pressed.png" : "gui/fader/handle.png");
    }
}

void draw_poti()
{
    const int n = 48;
    const QPointF c(n / 2.0, n / 2.0);
    // Background: a scale of ticks over 270 degrees around the knob's place.
    QImage scale = canvas(n, n);
    draw(scale, [&](QPainter& p) {
        p.setPen(QPen(QColor(122, 128, 126), 1.2, Qt::SolidLine, Qt::RoundCap));
        for (int i = 0; i <= 10; ++i) {
            const qreal a = qDegreesToRadians(135.0 + i * 27.0);
            const QPointF dir(qCos(a), qSin(a));
            p.drawLine(c + dir * 20.5, c + dir * (i % 5 == 0 ? 23.5 : 22.5));
        }
    });
    save(scale, "gui/poti/background.png");
    // Knob: a shaded disc with a pointer at twelve o'clock; the widget turns it.
    QImage knob = canvas(n, n);
    draw(knob, [&](QPainter& p) {
        QLinearGradient face(0, 6, 0, n - 6);
        face.setColorAt(0, QColor(86, 86, 86));
        face.setColorAt(1, QColor(44, 44, 44));
        p.setPen(QPen(QColor(16, 16, 16), 1.0));
        p.setBrush(face);
        p.drawEllipse(c, 17.5, 17.5);
        p.setPen(QPen(text_color, 2.4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(c + QPointF(0, -6), c + QPointF(0, -15));
    });
    save(knob, "gui/poti/knob.png");
}

void draw_color_cone()
{
    // The cone seen from above: hue around, saturation from the centre out.
    const int n = 128;
    QImage cone = canvas(n, n);
    const qreal r = n / 2.0 - 1;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const qreal dx = x + 0.5 - n / 2.0, dy = y + 0.5 - n / 2.0;
            const qreal d = qSqrt(dx * dx + dy * dy);
            if (d > r + 0.5)
                continue;
            qreal hue = qAtan2(-dy, dx) / (2 * M_PI);
            if (hue < 0)
                hue += 1;
            QColor color = QColor::fromHsvF(hue, qMin<qreal>(1.0, d / r), 1.0);
            // Anti-aliased rim.
            color.setAlphaF(qBound<qreal>(0.0, r + 0.5 - d, 1.0));
            cone.setPixelColor(x, y, color);
        }
    }
    save(cone, "gui/color_cone/cone.png");
    QImage marker = canvas(11, 11);
    draw(marker, [](QPainter& p) {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::black, 3.0));
        p.drawEllipse(QPointF(5.5, 5.5), 3.5, 3.5);
        p.setPen(QPen(Qt::white, 1.2));
        p.drawEllipse(QPointF(5.5, 5.5), 3.5, 3.5);
    });
    save(marker, "gui/color_cone/marker.png");
}

void draw_graphics_view()
{
    // Transparency shows as a dark checkerboard; the tile repeats.
    QImage tile(16, 16, QImage::Format_ARGB32_Premultiplied);
    tile.fill(QColor(40, 40, 40));
    draw(tile, [](QPainter& p) {
        p.fillRect(0, 0, 8, 8, QColor(56, 56, 56));
        p.fillRect(8, 8, 8, 8, QColor(56, 56, 56));
    });
    save(tile, "gui/graphics_view/background.png");
    // The view's frame: a sunken 3-pixel border image around a field-coloured inside.
    QImage frame(9, 9, QImage::Format_ARGB32_Premultiplied);
    frame.fill(field_color);
    for (int i = 0; i < 9; ++i) {
        for (const QPoint& pt : {QPoint(i, 0), QPoint(0, i), QPoint(i, 8), QPoint(8, i)})
            frame.setPixelColor(pt, QColor(16, 16, 16));
    }
    for (int i = 1; i < 8; ++i) {
        frame.setPixelColor(i, 1, QColor(28, 28, 28));
        frame.setPixelColor(1, i, QColor(28, 28, 28));
        frame.setPixelColor(i, 7, QColor(64, 64, 64));
        frame.setPixelColor(7, i, QColor(64, 64, 64));
    }
    save(frame, "gui/graphics_view/border.png");
}

QImage led(const QColor& light, bool on)
{
    QImage image = canvas(14, 14);
    draw(image, [&](QPainter& p) {
        const QPointF c(7, 7);
        QRadialGradient glass(c + QPointF(-1.5, -1.5), 6.5);
        glass.setColorAt(0, on ? light.lighter(160) : QColor(80, 80, 80));
        glass.setColorAt(1, on ? light.darker(130) : QColor(34, 34, 34));
        p.setPen(QPen(QColor(16, 16, 16), 1.0));
        p.setBrush(glass);
        p.drawEllipse(c, 6, 6);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(255, 255, 255, on ? 150 : 50));
        p.drawEllipse(c + QPointF(-2, -2.2), 1.6, 1.2);
    });
    return image;
}

void draw_leds()
{
    save(led(QColor(), false), "gui/led/off.png");
    save(led(QColor(214, 58, 48), true), "gui/led/red.png");
    save(led(QColor(86, 196, 92), true), "gui/led/green.png");
    save(led(QColor(226, 184, 58), true), "gui/led/yellow.png");
    save(led(QColor(70, 140, 226), true), "gui/led/blue.png");
}

// White glyphs for recolouring, on a square of `n` pixels.
void draw_glyphs(const QString& folder, int n)
{
    const qreal u = n / 16.0;
    const auto stroke = [u](QPainter& p, qreal width) {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::white, width * u, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    };
    save(icon(n, n, [u](QPainter& p) {
        p.drawPolygon(QPolygonF() << QPointF(4 * u, 2.5 * u) << QPointF(13.5 * u, 8 * u) << QPointF(4 * u, 13.5 * u));
    }), folder + "/play.png");
    save(icon(n, n, [u](QPainter& p) {
        p.drawRect(QRectF(3.5 * u, 3 * u, 3.2 * u, 10 * u));
        p.drawRect(QRectF(9.3 * u, 3 * u, 3.2 * u, 10 * u));
    }), folder + "/pause.png");
    save(icon(n, n, [u](QPainter& p) { p.drawRect(QRectF(3.5 * u, 3.5 * u, 9 * u, 9 * u)); }), folder + "/stop.png");
    save(icon(n, n, [u](QPainter& p) { p.drawEllipse(QPointF(8 * u, 8 * u), 5 * u, 5 * u); }), folder + "/record.png");
    save(icon(n, n, [&](QPainter& p) {
        stroke(p, 2.2);
        p.drawLine(QPointF(8 * u, 3 * u), QPointF(8 * u, 13 * u));
        p.drawLine(QPointF(3 * u, 8 * u), QPointF(13 * u, 8 * u));
    }), folder + "/plus.png");
    save(icon(n, n, [&](QPainter& p) {
        stroke(p, 2.2);
        p.drawLine(QPointF(3 * u, 8 * u), QPointF(13 * u, 8 * u));
    }), folder + "/minus.png");
    save(icon(n, n, [&](QPainter& p) {
        stroke(p, 2.2);
        p.drawLine(QPointF(4 * u, 4 * u), QPointF(12 * u, 12 * u));
        p.drawLine(QPointF(12 * u, 4 * u), QPointF(4 * u, 12 * u));
    }), folder + "/close.png");
    save(icon(n, n, [&](QPainter& p) {
        stroke(p, 2.0);
        p.drawArc(QRectF(3 * u, 3 * u, 10 * u, 10 * u), 100 * 16, 290 * 16);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawPolygon(QPolygonF() << QPointF(5 * u, 0.8 * u) << QPointF(9.8 * u, 3.2 * u) << QPointF(5.6 * u, 6.2 * u));
    }), folder + "/reset.png");
    // Arrows: one chevron, turned four ways.
    const char* arrows[4] = {"/arrow_up.png", "/arrow_right.png", "/arrow_down.png", "/arrow_left.png"};
    for (int turn = 0; turn < 4; ++turn) {
        save(icon(n, n, [&](QPainter& p) {
            p.translate(n / 2.0, n / 2.0);
            p.rotate(90 * turn);
            p.translate(-n / 2.0, -n / 2.0);
            stroke(p, 2.2);
            p.drawPolyline(QPolygonF() << QPointF(3.5 * u, 10.5 * u) << QPointF(8 * u, 6 * u) << QPointF(12.5 * u, 10.5 * u));
        }), folder + arrows[turn]);
    }
}

void draw_toolkit_families()
{
    draw_fader();
    draw_poti();
    draw_color_cone();
    draw_graphics_view();
    draw_leds();
    draw_glyphs("gui/icons_round_buttons", 16);
    draw_glyphs("gui/icons_small_buttons", 10);
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
    for (int size : {16, 24, 32, 48, 64, 128, 256, 512})
        save(application_icon(size), QString("icons/%1.png").arg(size));
    // The about box scales this one down, so it is sharp on any screen.
    save(logo(2.0), "images/logo.png");
    // Only at their own density: a sheet places a background by its pixels, not by its size, so
    // a finer drop picture would stand off its bottom-centre anchor.
    save(drop_picture("Drop images here"), "images/drop_images_here_en.png");
    save(drop_picture(QString::fromUtf8("Bilder hier ablegen")), "images/drop_images_here_de.png");
    draw_window_pictures();
    draw_toolkit_families();

    // What the window shows, again at twice the density, so that a screen scaled by 2 (or 1.5)
    // gets sharp pictures instead of stretched ones. The 3-pixel frames are left out: they are
    // stretched by their sheets anyway and keep their lines whole at any factor.
    ratio = 2.0;
    draw_indicators();
    draw_icons();
    draw_window_pictures();
    return failures == 0 ? 0 : 1;
}
