#include "ondo/button.h"

#include <QPainter>
#include <QPixmap>
#include <QTextDocument>
#include <QTimer>

namespace ondo {

button::button(const QString& text, QWidget* parent) : QPushButton(text, parent)
{
    merge_style_sheet("border:none;margin:2px 2px 2px 2px;");
    setFocusPolicy(Qt::NoFocus);
}

button::button(QWidget* parent, QRect rect) : button(QString(), parent)
{
    highlight_rect = QRect(QPoint(rect.left() + 4, rect.top() + 4), QPoint(rect.right() + 1, rect.bottom() + 1));
}

void button::merge_style_sheet(QString declarations)
{
    if (!declarations.endsWith(';'))
        declarations += ';';
    QString sheet = styleSheet();
    int start = 0;
    while (start < declarations.size()) {
        const int end = declarations.indexOf(';', start);
        const QString declaration = declarations.mid(start, end - start + 1);
        start = end + 1;
        const int colon = declaration.indexOf(':');
        const QString key = declaration.left(colon + 1);
        const int at = sheet.indexOf(key);
        if (colon < 0 || at < 0) {
            sheet += declaration;
            continue;
        }
        const int old_end = sheet.indexOf(';', at);
        const int old_length = (old_end < 0 ? sheet.size() : old_end + 1) - at;
        if (sheet.mid(at, old_length) == declaration)
            return;
        sheet.replace(at, old_length, declaration);
    }
    setStyleSheet(sheet);
}

void button::mouseReleaseEvent(QMouseEvent*)
{
    if (!highlight_rect.isValid())
        merge_style_sheet("margin:0px 0px 0px 0px;border:2px solid rgb(222,222,222);");
    QTimer::singleShot(200, this, &button::deaktivate_highlight);
    highlighted = true;
    update();
    // The base class isn't asked: the signals go out by hand, once per release.
    emit clicked(false);
    emit released();
    emit toggled(isChecked());
}

void button::deaktivate_highlight()
{
    if (!highlight_rect.isValid())
        merge_style_sheet("border:none;margin:2px 2px 2px 2px;");
    highlighted = false;
    update();
}

void button::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    if (!highlight_rect.isValid() || !highlighted)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(222, 222, 222), 2));
    painter.drawRect(highlight_rect);
}

button_html::button_html(QWidget* parent) : button_html(QString(), parent) {}

button_html::button_html(const QString& html, QWidget* parent) : button(parent, QRect())
{
    QTextDocument document;
    document.setHtml(html);
    QPixmap face(document.size().toSize());
    face.fill(Qt::transparent);
    QPainter painter(&face);
    document.drawContents(&painter);
    painter.end();
    setIcon(QIcon(face));
    setIconSize(face.size());
}

} // namespace ondo
