#include "entered_zone.h"

#include <QRegularExpression>

namespace entered_zone {

namespace {

constexpr int earliest = -12 * 60;
constexpr int latest = 14 * 60;

} // namespace

bool valid(int minutes)
{
    return minutes >= earliest && minutes <= latest && minutes % 15 == 0;
}

std::optional<int> minutes(const QString& typed)
{
    QString text = typed.trimmed();
    text.replace(QChar(0x2212), QLatin1Char('-')); // the typographic minus sign
    // Hours with an optional fraction, or hours and minutes of a clock offset. The fraction is
    // read by hand: a locale's number parsing would take "1,5" for fifteen in one and for one
    // and a half in another.
    static const QRegularExpression hours(
        QRegularExpression::anchoredPattern(QStringLiteral("([+-]?)(\\d{1,2})(?:[.,](\\d{1,4}))?")));
    static const QRegularExpression clock(
        QRegularExpression::anchoredPattern(QStringLiteral("([+-]?)(\\d{1,2}):(\\d\\d)")));
    int total = 0;
    QRegularExpressionMatch match = clock.match(text);
    if (match.hasMatch()) {
        const int minute = match.captured(3).toInt();
        if (minute >= 60)
            return std::nullopt;
        total = match.captured(2).toInt() * 60 + minute;
    } else {
        match = hours.match(text);
        if (!match.hasMatch())
            return std::nullopt;
        // Ten-thousandths of an hour, so that only fractions that are whole minutes pass.
        const int fraction = match.captured(3).leftJustified(4, QLatin1Char('0')).toInt();
        if (fraction * 60 % 10000 != 0)
            return std::nullopt;
        total = match.captured(2).toInt() * 60 + fraction * 60 / 10000;
    }
    if (match.captured(1) == QLatin1String("-"))
        total = -total;
    if (!valid(total))
        return std::nullopt;
    return total;
}

QString text(int minutes)
{
    const int whole = qAbs(minutes);
    return QStringLiteral("%1%2:%3")
        .arg(minutes < 0 ? QLatin1Char('-') : QLatin1Char('+'))
        .arg(whole / 60, 2, 10, QLatin1Char('0'))
        .arg(whole % 60, 2, 10, QLatin1Char('0'));
}

} // namespace entered_zone
