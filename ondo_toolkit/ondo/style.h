#pragma once

#include <QProxyStyle>

namespace ondo {

// The tool-tip rule and the dark vertical scroll bar of pop-up lists and dialogs, for appending
// to a widget's own sheet.
extern const char* const list_scrollbar_rules;

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

// Gives both scroll bars of `view` the dark sheet, on a fusion style owned by `view` (native
// macOS scroll bars ignore style sheets). Instantiated for QTableView and QTextEdit.
template <typename T>
void style_scrollbars(T* view);

} // namespace ondo
