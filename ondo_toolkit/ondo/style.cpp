#include "ondo/style.h"

#include <QApplication>

namespace ondo {

proxy_style::proxy_style()
    : QProxyStyle(nullptr)
    , tooltip_delay(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay))
    , tooltip_cooldown(QApplication::style()->styleHint(QStyle::SH_ToolTip_FallAsleepDelay))
{
}

int proxy_style::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
    QStyleHintReturn* returnData) const
{
    switch (hint) {
    case SH_ComboBox_Popup: return 0;
    case SH_Slider_AbsoluteSetButtons: return Qt::LeftButton;
    case SH_ToolTip_WakeUpDelay: return tooltip_delay;
    case SH_ToolTip_FallAsleepDelay: return tooltip_cooldown;
    default: return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
}

void proxy_style::set_tooltip_delay(int delay) { tooltip_delay = delay; }
void proxy_style::set_tooltip_cooldown(int delay) { tooltip_cooldown = delay; }

} // namespace ondo
