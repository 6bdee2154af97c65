#include "ondo/button_dark.h"

#include "ondo/assertion.h"
#include "ondo/style.h"

#include <QButtonGroup>
#include <QDragEnterEvent>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>
#include <cstdlib>

namespace ondo {

bool button_dark::enable_padding = true;

namespace {

// Fills the lowest placeholders of `sheet` only if it has any: the flat and round sheets have
// none, and QString::arg would complain about every one of them.
QString fill(const QString& sheet, const QString& a)
{
    static const QRegularExpression placeholder("%\\d");
    return sheet.contains(placeholder) ? sheet.arg(a) : sheet;
}

QString fill(const QString& sheet, const QString& a, const QString& b)
{
    static const QRegularExpression placeholder("%\\d");
    return sheet.contains(placeholder) ? sheet.arg(a, b) : sheet;
}

void ensure_argb32(QImage& image)
{
    if (image.format() != QImage::Format_ARGB32)
        image = image.convertToFormat(QImage::Format_ARGB32);
}

std::uint8_t clamp_byte(int value) { return std::uint8_t(std::clamp(value, 0, 255)); }

// The size a picture paints at: a drawing for a denser screen has more pixels than that.
QSize logical_size(const QImage& image) { return (QSizeF(image.size()) / image.devicePixelRatio()).toSize(); }

} // namespace

// ---------------------------------------------------------------------------------------------
// img_highlighter

void button_dark::img_highlighter::update()
{
    if (path.isEmpty())
        return;
    const QImage picture = load_artwork(path);
    normal_image = std::make_unique<QImage>(picture);
    highlight_image = std::make_unique<QImage>(picture);
    disabled_image = std::make_unique<QImage>(picture);
    create_images(*normal_image, *highlight_image, *disabled_image);
    width = logical_size(*normal_image).width();
}

void button_dark::img_highlighter::create_images(
    QImage& normal_img, QImage& highlight_img, QImage& disabled_img) const
{
    ensure_argb32(normal_img);
    ensure_argb32(highlight_img);
    ensure_argb32(disabled_img);
    // Pixels are four bytes, blue first, alpha last. Lines may be padded, so go line by line.
    auto for_each_pixel = [](QImage& image, auto&& f) {
        for (int y = 0; y < image.height(); ++y) {
            std::uint8_t* px = image.scanLine(y);
            for (int x = 0; x < image.width(); ++x, px += 4)
                f(px);
        }
    };

    if (!multicolor) {
        const pixel_argb n = normal, h = highlight;
        for_each_pixel(normal_img, [n](std::uint8_t* px) { px[0] = n.b; px[1] = n.g; px[2] = n.r; });
        for_each_pixel(highlight_img, [h](std::uint8_t* px) { px[0] = h.b; px[1] = h.g; px[2] = h.r; });
        for_each_pixel(disabled_img, [n](std::uint8_t* px) {
            px[0] = n.b;
            px[1] = n.g;
            px[2] = n.r;
            px[3] = px[3] >> 1;
        });
        return;
    }

    // The pixel nearest to `normal` stands for the icon's own colour; the first of equally near
    // pixels wins, and an exact match ends the search.
    pixel_argb reference = normal;
    int best = 765;
    for (int y = 0; y < normal_img.height() && best > 0; ++y) {
        const std::uint8_t* px = normal_img.constScanLine(y);
        for (int x = 0; x < normal_img.width(); ++x, px += 4) {
            const int d = std::abs(px[0] - normal.b) + std::abs(px[1] - normal.g) + std::abs(px[2] - normal.r);
            if (d < best) {
                best = d;
                reference = pixel_argb(px[2], px[1], px[0], px[3]);
                if (best == 0)
                    break;
            }
        }
    }
    const int db = highlight.b - reference.b, dg = highlight.g - reference.g, dr = highlight.r - reference.r;
    for_each_pixel(highlight_img, [=](std::uint8_t* px) {
        px[0] = clamp_byte(px[0] + db);
        px[1] = clamp_byte(px[1] + dg);
        px[2] = clamp_byte(px[2] + dr);
    });
    for_each_pixel(disabled_img, [](std::uint8_t* px) { px[3] = px[3] >> 1; });
}

button_dark::paint_function button_dark::img_highlighter::get_custom_paint_ex(int x, int y)
{
    return [this, x, y](QPainter& painter, QPushButton* button) {
        if (!normal_image || !highlight_image || !disabled_image)
            return;
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        auto* bd = qobject_cast<button_dark*>(button);
        if (!bd)
            assertion_failed("bd", "../ondo_toolkit/ondo/button_dark", __LINE__, __func__);

        const QImage* image = normal_image.get();
        if (!bd->isEnabled())
            image = disabled_image.get();
        else if (bd->underMouse() || bd->hasFocus())
            image = highlight_image.get();
        else if (bd->isCheckable() && bd->isChecked() && bd->highlight_when_checked)
            image = highlight_image.get();

        if (!bd->icon_scaled) {
            const QSize size = logical_size(*image);
            const int px = x == -1 ? (bd->width() - size.width()) / 2 : x;
            const int py = y == -1 ? (bd->height() - size.height()) / 2 : y;
            painter.drawImage(QPoint(px, py), *image);
        } else if (bd->icon_scaled_width < 1) {
            painter.drawImage(bd->rect(), *image);
        } else {
            const int w = bd->icon_scaled_width;
            const int h = qRound(double(image->height()) * w / image->width());
            painter.drawImage(QRect((bd->width() - w) / 2, (bd->height() - h) / 2, w, h), *image);
        }

        // A button that takes the keyboard focus shows it with a thin frame beside the lit icon.
        if (bd->hasFocus()) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(QColor(129, 136, 133), 1));
            painter.drawRect(QRectF(bd->rect()).adjusted(0.5, 0.5, -0.5, -0.5));
        }

        if (bd->check_frame && bd->isCheckable() && bd->isChecked()) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(QColor(129, 136, 133), 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
            painter.drawRect(bd->rect().adjusted(1, 1, -1, -1));
        }
    };
}

// ---------------------------------------------------------------------------------------------
// button_dark

button_dark::button_dark(QWidget* parent) : QPushButton(parent) { init(); }

button_dark::button_dark(const QString& text, QWidget* parent) : QPushButton(text, parent) { init(); }

button_dark::~button_dark() = default;

void button_dark::init()
{
    type = default_type;
    text_align = default_text_align;
    style_base = "QPushButton{color:rgb(198,213,210);border-style:none;border-width:3px;"
                 "border-image:url(:/gui/button/%1_normal.png) 3 stretch;text-align:%2;%3;"
                 "background:transparent;";
    if (enable_padding)
        style_base += "padding: 0.25em 1em;";
    style_base += "}QPushButton::hover{color:#f0f0f0;}QToolTip{border:1px solid rgb(99,99,99);"
                  "background-image:none;background-color:rgb(47,47,47);}";
    style_disabled = "QPushButton::disabled{color:rgba(129,136,133,50%);}";
    style_disabled_color = "QPushButton::disabled{color:rgba(%1,%2,%3,50%);}";
    style_checked = "QPushButton::checked{border-style:none;border-width:3px;"
                    "border-image:url(:/gui/button/%1_pressed.png) 3 stretch;}";
    style_pressed = "QPushButton::pressed{border-style:none;border-width:3px;"
                    "border-image:url(:/gui/button/%1_pressed.png) 3 stretch;}";
    style_extra_padding = "padding-left: %1px; padding-right: %1px;";
    update_stylesheet();
    setFocusPolicy(Qt::NoFocus);
}

void button_dark::update_stylesheet()
{
    QString sheet = style_base;
    if (use_checked_style)
        sheet += style_checked;
    if (use_pressed_style)
        sheet += style_pressed;
    sheet = fill(sheet, type, text_align);

    QString extras;
    if (extra_padding != 0)
        extras += style_extra_padding.arg(extra_padding);
    if (has_text_color) {
        extras += QString("color:rgba(%1,%2,%3,%4);")
                      .arg(text_color.r)
                      .arg(text_color.g)
                      .arg(text_color.b)
                      .arg(text_color.a);
        sheet += style_disabled_color.arg(text_color.r).arg(text_color.g).arg(text_color.b);
    } else {
        sheet += style_disabled;
    }
    setStyleSheet(fill(sheet, extras));
}

void button_dark::set_type(const QString& new_type)
{
    type = new_type;
    update_stylesheet();
}

void button_dark::set_text_align(const QString& align)
{
    text_align = align;
    update_stylesheet();
}

void button_dark::set_style(bool frame, bool checked_style, bool highlight_checked, bool pressed_style)
{
    check_frame = frame;
    use_checked_style = checked_style;
    highlight_when_checked = highlight_checked;
    use_pressed_style = pressed_style;
    update_stylesheet();
    update();
}

void button_dark::set_extra_padding(int padding)
{
    extra_padding = padding;
    update_stylesheet();
}

void button_dark::set_text_color(const pixel_argb& color)
{
    text_color = color;
    has_text_color = true;
    update_stylesheet();
}

void button_dark::reset_text_color()
{
    has_text_color = false;
    update_stylesheet();
}

void button_dark::load_icon(img_highlighter& record, const QString& path, const pixel_argb& highlight,
    const pixel_argb& normal)
{
    record.normal = normal;
    record.highlight = highlight;
    record.update();
    if (!path.isEmpty() && QFile::exists(path)) {
        record.path = path;
        record.update();
    } else {
        qWarning("Can't open icon: '%s'.", path.toUtf8().constData());
    }
}

void button_dark::set_icon(const QString& path, int x, int y, const pixel_argb& highlight, const pixel_argb& normal)
{
    load_icon(icon, path, highlight, normal);
    custom_paint = icon.get_custom_paint_ex(x, y);
    update();
}

void button_dark::set_multicolor_icon(const QString& path, int x, int y, const pixel_argb& highlight,
    const pixel_argb& normal)
{
    icon.multicolor = true;
    icon.update();
    set_icon(path, x, y, highlight, normal);
}

void button_dark::set_checked_icon(const QString& path, int x, int y, const pixel_argb& highlight,
    const pixel_argb& normal)
{
    load_icon(checked_icon, path, highlight, normal);
    use_checked_style = false;
    update_stylesheet();
    auto checked_paint = checked_icon.get_custom_paint_ex(x, y);
    auto normal_paint = icon.get_custom_paint_ex(x, y);
    custom_paint = [this, checked_paint, normal_paint](QPainter& p, QPushButton* b) {
        isChecked() ? checked_paint(p, b) : normal_paint(p, b);
    };
    update();
}

void button_dark::set_multicolor_checked_icon(const QString& path, int x, int y,
    const pixel_argb& highlight, const pixel_argb& normal)
{
    checked_icon.multicolor = true;
    checked_icon.update();
    set_checked_icon(path, x, y, highlight, normal);
}

void button_dark::set_pressed_icon(const QString& path, int x, int y, const pixel_argb& highlight,
    const pixel_argb& normal)
{
    load_icon(pressed_icon, path, highlight, normal);
    auto pressed_paint = pressed_icon.get_custom_paint_ex(x, y);
    auto normal_paint = icon.get_custom_paint_ex(x, y);
    custom_paint = [this, pressed_paint, normal_paint](QPainter& p, QPushButton* b) {
        isDown() ? pressed_paint(p, b) : normal_paint(p, b);
    };
    update();
}

void button_dark::set_multicolor_pressed_icon(const QString& path, int x, int y,
    const pixel_argb& highlight, const pixel_argb& normal)
{
    pressed_icon.multicolor = true;
    pressed_icon.update();
    set_pressed_icon(path, x, y, highlight, normal);
}

void button_dark::adjust_width_to_icon(int left, int right) { setFixedWidth(left + right + icon.width); }

void button_dark::paintEvent(QPaintEvent* event)
{
    if (draw_base)
        QPushButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (custom_paint)
        custom_paint(painter, this);
    if (background_paint)
        background_paint(painter);
}

void button_dark::mousePressEvent(QMouseEvent* event)
{
    last_modifiers = event->modifiers();
    if (isCheckable() && select_mode) {
        if (event->button() == Qt::RightButton) {
            toggle();
            return;
        }
        if (event->button() == Qt::LeftButton) {
            setChecked(true);
            return;
        }
    }
    QPushButton::mousePressEvent(event);
}

void button_dark::mouseReleaseEvent(QMouseEvent* event)
{
    QButtonGroup* button_group = group();
    if (button_group && button_group->exclusive() && toggle_off_in_group
        && button_group->checkedButton() == this && isChecked()) {
        // An exclusive group refuses to uncheck its checked button; lift that for this release.
        button_group->setExclusive(false);
        QPushButton::mouseReleaseEvent(event);
        setChecked(false);
        button_group->setExclusive(true);
        if (on_release)
            on_release(event);
        return;
    }
    if (isCheckable() && isChecked() && select_mode && event->button() == Qt::LeftButton)
        setChecked(false);
    if (on_release)
        on_release(event);
    QPushButton::mouseReleaseEvent(event);
    last_modifiers = Qt::NoModifier;
}

void button_dark::mouseMoveEvent(QMouseEvent* event)
{
    if (on_move)
        on_move(event);
    QPushButton::mouseMoveEvent(event);
}

void button_dark::dragEnterEvent(QDragEnterEvent* event)
{
    event->setDropAction(event->proposedAction());
    event->accept();
}

// ---------------------------------------------------------------------------------------------
// button_dark_flat, button_dark_round

button_dark_flat::button_dark_flat(const QString& text, QWidget* parent) : button_dark(text, parent)
{
    style_base = "QPushButton{color:rgb(146,152,148);border-style:none;border-width:3px;"
                 "border-image:url(:/gui/button/blank_normal.png) 3 stretch;font-size:12px;"
                 "background:transparent;}QPushButton::hover{color:#d0d0d0;}"
                 "QToolTip{border:1px solid rgb(99,99,99);background-image:none;"
                 "background-color:rgb(47,47,47);color:rgb(228,228,228);font-size:10px;}";
    style_checked = "QPushButton::checked      {color:rgb(228,228,228);}"
                    "QPushButton::checked:hover{color:rgb(255,255,255);}";
    // A checked rule in the pressed slot: kept so, pressing shows no change of its own.
    style_pressed = "QPushButton::checked      {color:rgb(228,228,228);}";
    setContentsMargins(0, 0, 0, 0);
    // No update_stylesheet(): the dark sheet stays until the first setter.
}

button_dark_round::button_dark_round(const QString& text, QWidget* parent) : button_dark_flat(text, parent)
{
    style_base = "QPushButton{color:rgb(146,152,148);border:1px solid rgb(75,75,75);"
                 "background-color:rgb(68,68,68);border-radius:5px;font-size:12px;}"
                 "QPushButton::checked{color:#d0d0d0;border:1px solid rgb(120,120,120);"
                 "background-color:rgb(113,113,113);}"
                 "QPushButton::hover{color:#d0d0d0;border:1px solid rgb(120,120,120);"
                 "background-color:rgb(133,133,133);}"
                 "QToolTip{border:1px solid rgb(99,99,99);background-image:none;"
                 "background-color:rgb(47,47,47);color:rgb(228,228,228);font-size:10px;}";
    update_stylesheet();
}

// ---------------------------------------------------------------------------------------------
// button_custom

void button_custom::paintEvent(QPaintEvent* event)
{
    if (!custom_paint) {
        QPushButton::paintEvent(event);
        return;
    }
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    custom_paint(painter, this);
}

void button_custom::mouseReleaseEvent(QMouseEvent* event)
{
    if (on_release)
        on_release(event);
    QPushButton::mouseReleaseEvent(event);
}

void button_custom::dragEnterEvent(QDragEnterEvent* event)
{
    event->setDropAction(event->proposedAction());
    event->accept();
}

} // namespace ondo
