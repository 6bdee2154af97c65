#pragma once

#include <QPushButton>

#include <cstdint>
#include <functional>
#include <memory>

class QImage;
class QPainter;

namespace ondo {

// One colour of four bytes, laid out in memory as blue, green, red, alpha: the byte order of a
// QImage::Format_ARGB32 pixel on a little-endian machine. Built from 0xAARRGGBB.
struct pixel_argb {
    std::uint8_t b = 0;
    std::uint8_t g = 0;
    std::uint8_t r = 0;
    std::uint8_t a = 255;

    constexpr pixel_argb() = default;
    constexpr pixel_argb(std::uint32_t argb)
        : b(argb & 0xff), g((argb >> 8) & 0xff), r((argb >> 16) & 0xff), a(argb >> 24)
    {
    }
    constexpr pixel_argb(int red, int green, int blue, int alpha = 255)
        : b(std::uint8_t(blue)), g(std::uint8_t(green)), r(std::uint8_t(red)), a(std::uint8_t(alpha))
    {
    }
    constexpr std::uint32_t value() const
    {
        return std::uint32_t(a) << 24 | std::uint32_t(r) << 16 | std::uint32_t(g) << 8 | b;
    }
    constexpr bool operator==(const pixel_argb& o) const { return value() == o.value(); }
};

// The dark theme's push button: a stretched border image chosen by `type`, a style sheet composed
// at run time from the setters, and an icon recoloured once, when it is set, into a normal, a
// highlighted and a disabled picture.
class button_dark : public QPushButton {
    Q_OBJECT
public:
    using paint_function = std::function<void(QPainter&, QPushButton*)>;

    // One icon and its three recoloured pictures.
    struct img_highlighter {
        pixel_argb normal;
        pixel_argb highlight;
        QString path;
        std::unique_ptr<QImage> normal_image;
        std::unique_ptr<QImage> highlight_image;
        std::unique_ptr<QImage> disabled_image;
        int width = 0;
        bool multicolor = false;

        // Reloads `path` (nothing if it is empty) and recolours.
        void update();
        // Recolours the three images in place, byte by byte. A monochrome icon keeps its alpha and
        // takes `normal` / `highlight`; its disabled picture has half the alpha. A multicolour icon
        // shifts its highlighted picture by `highlight` minus its pixel nearest to `normal`.
        // Images that aren't 32-bit ARGB are converted first.
        void create_images(QImage& normal_image, QImage& highlight_image, QImage& disabled_image) const;
        // A paint function bound to this record; -1 for `x` or `y` centres the picture that way.
        // Painting another widget than a button_dark throws the assertion text.
        paint_function get_custom_paint_ex(int x, int y);
    };

    explicit button_dark(QWidget* parent = nullptr);
    explicit button_dark(const QString& text, QWidget* parent = nullptr);
    ~button_dark() override;

    // The first part of the border image names under :/gui/button/: "dark", "header", "blank".
    void set_type(const QString& type);
    void set_text_align(const QString& align);
    void set_style(bool check_frame, bool use_checked_style, bool highlight_when_checked,
        bool use_pressed_style);
    void set_extra_padding(int padding);
    void set_text_color(const pixel_argb& color);
    void reset_text_color();
    void update_stylesheet();

    // A missing or empty `path` is logged ("Can't open icon") and keeps the previous picture.
    void set_icon(const QString& path, int x, int y, const pixel_argb& highlight, const pixel_argb& normal);
    void set_multicolor_icon(const QString& path, int x, int y, const pixel_argb& highlight,
        const pixel_argb& normal);
    void set_checked_icon(const QString& path, int x, int y, const pixel_argb& highlight,
        const pixel_argb& normal);
    void set_multicolor_checked_icon(const QString& path, int x, int y, const pixel_argb& highlight,
        const pixel_argb& normal);
    void set_pressed_icon(const QString& path, int x, int y, const pixel_argb& highlight,
        const pixel_argb& normal);
    void set_multicolor_pressed_icon(const QString& path, int x, int y, const pixel_argb& highlight,
        const pixel_argb& normal);
    void adjust_width_to_icon(int left, int right);

    // The keyboard modifiers held at the last press; valid inside a click handler.
    Qt::KeyboardModifiers modifiers() const { return last_modifiers; }

    // Read when a button is constructed; callers flip it around building unpadded buttons.
    static bool enable_padding;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;

    QString style_base;
    QString style_disabled;
    QString style_disabled_color;
    QString style_checked;
    QString style_pressed;
    QString style_extra_padding;
    QString default_type = "dark";
    QString default_text_align = "center";
    QString type;
    QString text_align;

public:
    img_highlighter icon;
    img_highlighter checked_icon;
    img_highlighter pressed_icon;
    bool check_frame = false;
    bool highlight_when_checked = true;
    bool use_checked_style = true;
    bool use_pressed_style = true;
    bool toggle_off_in_group = false;
    int extra_padding = 0;
    pixel_argb text_color;
    bool has_text_color = false;
    bool select_mode = false;

protected:
    Qt::KeyboardModifiers last_modifiers = Qt::NoModifier;

public:
    std::function<void(QPainter&)> background_paint;
    paint_function custom_paint;
    std::function<void(QMouseEvent*)> on_press;
    std::function<void(QMouseEvent*)> on_release;
    std::function<void(QMouseEvent*)> on_move;
    bool icon_scaled = false;
    int icon_scaled_width = 0;
    bool draw_base = true;

private:
    void init();
    void load_icon(img_highlighter& record, const QString& path, const pixel_argb& highlight,
        const pixel_argb& normal);
};

// A borderless button with grey text that lights up when checked. Until a setter runs it keeps
// the sheet of button_dark.
class button_dark_flat : public button_dark {
    Q_OBJECT
public:
    explicit button_dark_flat(const QString& text = QString(), QWidget* parent = nullptr);
};

// A small rounded button with its own face colours, in force at once.
class button_dark_round : public button_dark_flat {
    Q_OBJECT
public:
    explicit button_dark_round(const QString& text = QString(), QWidget* parent = nullptr);
};

// A push button painted entirely by its owner.
class button_custom : public QPushButton {
    Q_OBJECT
public:
    using QPushButton::QPushButton;

    std::function<void(QPainter&, QPushButton*)> custom_paint;
    std::function<void(QMouseEvent*)> on_release;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
};

} // namespace ondo
