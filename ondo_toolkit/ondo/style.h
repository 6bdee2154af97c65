#pragma once

#include <QFont>
#include <QImage>
#include <QProxyStyle>

class QString;

namespace ondo {

// The tool-tip rule and the dark vertical scroll bar of pop-up lists and dialogs, for appending
// to a widget's own sheet.
extern const char* const list_scrollbar_rules;

// The framed dark combo box with its pop-up list, as the dialogs' sheets show it.
extern const char* const framed_combobox_rules;

// The program's few style hints: list-style combo pop-ups, sliders that jump to a left click,
// and tool-tip delays that start at the platform's values.
class proxy_style : public QProxyStyle {
    Q_OBJECT
public:
    proxy_style();

    int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
        const QWidget* widget = nullptr, QStyleHintReturn* returnData = nullptr) const override;

public slots:
    void set_tooltip_delay(int delay);
    void set_tooltip_cooldown(int delay);

private:
    int tooltip_delay;
    int tooltip_cooldown;
};

// The design sizes its fonts in points on a platform where a point is one pixel. Where the logical
// dpi is anything else (96 on Linux), gives `font` the same number of pixels instead, so that text
// keeps its designed size and the fixed layout still fits. Fonts sized in pixels pass unchanged.
QFont design_font(QFont font);

// A bold font file may register under its regular family with the style Bold (FreeSansBold.ttf
// does so on Linux). Where no family `name` exists, lets a font asked for by `name` find `family`,
// so that with a bold weight it gets the bold face rather than some other family's.
void alias_font_family(const QString& name, const QString& family);

// The picture at `path`. Where a screen has a device pixel ratio above 1 and a drawing twice as
// fine stands beside it ("icon.png" and "icon@2x.png"), that one instead, with a ratio of 2, so
// that it paints at the same size but sharp. A null image if neither can be read.
QImage load_artwork(const QString& path);

// Gives both scroll bars of `view` the dark sheet, on a fusion style owned by `view` (native
// macOS scroll bars ignore style sheets). Instantiated for QTableView and QTextEdit.
template <typename T>
void style_scrollbars(T* view);

} // namespace ondo
