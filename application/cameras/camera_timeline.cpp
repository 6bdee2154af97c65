#include "camera_timeline.h"

#include <QDateTime>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr qint64 second = 1000, minute = 60 * second, hour = 60 * minute, day = 24 * hour;

// Bright and told apart on the dark window; lanes beyond the eighth repeat them.
const QRgb lane_colours[] = {0x4fc3f7, 0xffb74d, 0x66bb6a, 0xf06292, 0xba68c8, 0xfff176, 0x4db6ac, 0xe57373};
const QColor plot_background(0x2b, 0x2b, 0x2b);
const QColor name_background(0x32, 0x32, 0x32);
const QColor separator(0x3d, 0x3d, 0x3d);
const QColor grid(0x36, 0x36, 0x36);
const QColor axis_line(0x6a, 0x6a, 0x6a);
const QColor name_text(0xd4, 0xd4, 0xd4);
const QColor axis_text(0xaa, 0xaa, 0xaa);
constexpr int old_alpha = 70;
constexpr int mark_width = 2;
constexpr int hit_distance = 4;
constexpr int max_ticks = 6;
constexpr int tick_length = 4;

qint64 floor_div(qint64 a, qint64 b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

QDateTime wall_clock(qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC); }

// A spacing of the axis's ticks: a fixed length, or whole calendar months.
struct tick_step {
    qint64 ms;
    int months;
    qint64 rough_ms() const { return ms ? ms : months * 30 * day; }
};
const tick_step tick_steps[] = {{second, 0}, {2 * second, 0}, {5 * second, 0}, {10 * second, 0}, {15 * second, 0},
    {30 * second, 0}, {minute, 0}, {2 * minute, 0}, {5 * minute, 0}, {10 * minute, 0}, {15 * minute, 0},
    {30 * minute, 0}, {hour, 0}, {2 * hour, 0}, {3 * hour, 0}, {6 * hour, 0}, {12 * hour, 0}, {day, 0},
    {2 * day, 0}, {7 * day, 0}, {14 * day, 0}, {0, 1}, {0, 2}, {0, 3}, {0, 6}, {0, 12}, {0, 24}, {0, 60},
    {0, 120}, {0, 240}, {0, 600}, {0, 1200}};

// The ticks of `step` in [start, end], at round times; at most `limit` + 1 of them.
QVector<qint64> tick_times(tick_step step, qint64 start, qint64 end, int limit)
{
    QVector<qint64> times;
    if (step.ms) {
        // Weeks start on Mondays; 1970-01-01 was a Thursday.
        const qint64 origin = step.ms % (7 * day) == 0 ? 4 * day : 0;
        for (qint64 t = (floor_div(start - origin - 1, step.ms) + 1) * step.ms + origin; t <= end
             && times.size() <= limit; t += step.ms)
            times << t;
        return times;
    }
    const QDate first = wall_clock(start).date();
    const qint64 first_month = qint64(first.year()) * 12 + first.month() - 1;
    for (qint64 month = (floor_div(first_month - 1, step.months) + 1) * step.months; times.size() <= limit;
         month += step.months) {
        const QDate date(int(floor_div(month, 12)), int(month - floor_div(month, 12) * 12) + 1, 1);
        const qint64 t = QDateTime(date, QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        if (t > end)
            break;
        if (t >= start)
            times << t;
    }
    return times;
}

// The date and the time half of a QDateTime format, each from its first to its last letter of
// that kind: "dd.MM.yyyy - HH:mm:ss" gives "dd.MM.yyyy" and "HH:mm:ss".
std::pair<QString, QString> split_format(const QString& format)
{
    int date_first = -1, date_last = -1, time_first = -1, time_last = -1;
    bool quoted = false;
    for (int i = 0; i < format.size(); ++i) {
        const QChar c = format.at(i);
        if (c == QLatin1Char('\''))
            quoted = !quoted;
        else if (quoted)
            continue;
        else if (QStringLiteral("dMy").contains(c)) {
            date_first = date_first < 0 ? i : date_first;
            date_last = i;
        } else if (QStringLiteral("hHmszaApP").contains(c)) {
            time_first = time_first < 0 ? i : time_first;
            time_last = i;
        }
    }
    return {date_first < 0 ? QStringLiteral("yyyy-MM-dd") : format.mid(date_first, date_last - date_first + 1),
        time_first < 0 ? QStringLiteral("HH:mm") : format.mid(time_first, time_last - time_first + 1)};
}

// `time_format` with seconds where ticks are less than a minute apart, and without them (nor
// fractions) where they would only ever read zero.
QString seconds_as_needed(QString time_format, bool seconds)
{
    const int minutes = time_format.lastIndexOf(QLatin1Char('m'));
    if (minutes < 0)
        return time_format;
    const int last = qMax(time_format.lastIndexOf(QLatin1Char('s')), time_format.lastIndexOf(QLatin1Char('z')));
    if (!seconds && last > minutes)
        time_format.remove(minutes + 1, last - minutes);
    else if (seconds && last < minutes)
        time_format.insert(minutes + 1, QStringLiteral(":ss"));
    return time_format;
}

} // namespace

camera_timeline::camera_timeline(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("camera_timeline"));
    // The height follows the number of lanes; only the width is the layout's to choose.
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    set_date_format(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

void camera_timeline::set_lanes(const QVector<timeline_lane>& new_lanes)
{
    lanes = new_lanes;
    shifts = QVector<qint64>(lanes.size(), 0);
    update_span();
    updateGeometry();
    invalidate();
}

void camera_timeline::set_shifts(const QVector<qint64>& shift_ms)
{
    shifts = shift_ms;
    update_span();
    invalidate();
}

void camera_timeline::set_date_format(const QString& format)
{
    std::tie(date_part, time_part) = split_format(format);
    invalidate();
}

int camera_timeline::preferred_lane_height() const { return qMax(24, fontMetrics().height() + 10); }

int camera_timeline::axis_height() const { return tick_length + 2 * fontMetrics().height() + 4; }

QSize camera_timeline::sizeHint() const
{
    return QSize(400, int(lanes.size()) * preferred_lane_height() + axis_height());
}

QSize camera_timeline::minimumSizeHint() const
{
    return QSize(200, int(lanes.size()) * preferred_lane_height() + axis_height());
}

qint64 camera_timeline::shift(int lane) const { return lane < shifts.size() ? shifts.at(lane) : 0; }

void camera_timeline::update_span()
{
    qint64 low = 0, high = 0;
    bool any = false;
    for (int i = 0; i < lanes.size(); ++i) {
        const QVector<qint64>& times = lanes.at(i).times;
        if (times.isEmpty())
            continue;
        const qint64 first = qMin(times.first(), times.first() + shift(i));
        const qint64 last = qMax(times.last(), times.last() + shift(i));
        low = any ? qMin(low, first) : first;
        high = any ? qMax(high, last) : last;
        any = true;
    }
    // Keeps the outermost marks off the edges, and gives a single photo a few seconds around it.
    const qint64 margin = qMax((high - low) / 40, 5 * second);
    span_start = low - margin;
    span_end = high + margin;
}

camera_timeline::layout camera_timeline::current_layout() const
{
    layout at;
    if (lanes.isEmpty())
        return at;
    const QFontMetrics metrics = fontMetrics();
    const int pad = metrics.averageCharWidth();
    int names = 0;
    for (const timeline_lane& lane : lanes)
        names = qMax(names, metrics.horizontalAdvance(lane.name));
    // A pixel to spare, since fractional advances may round up when the text is drawn.
    const int left = qMin(names + 2 * pad + 1, width() * 3 / 10);
    at.lane_height = qMax(preferred_lane_height() * 3 / 4, (height() - axis_height()) / int(lanes.size()));
    at.plot = QRect(left, 0, qMax(1, width() - left - pad), at.lane_height * int(lanes.size()));
    return at;
}

double camera_timeline::x_of(qint64 time, int width) const
{
    return double(time - span_start) * width / double(span_end - span_start);
}

QVector<camera_timeline::run> camera_timeline::runs(const QVector<qint64>& times, qint64 shift, int width) const
{
    // One binary search per column that holds marks, so that thousands of photos in a column
    // cost what one does.
    QVector<run> result;
    const double ms_per_column = double(span_end - span_start) / width;
    auto next = times.cbegin();
    for (int column = 0; column < width;) {
        const qint64 column_start = span_start + qint64(std::ceil(column * ms_per_column));
        next = std::lower_bound(next, times.cend(), column_start - shift);
        if (next == times.cend())
            break;
        const int at = qBound(column, int(std::floor(x_of(*next + shift, width))), width - 1);
        if (!result.isEmpty() && result.last().last == at - 1)
            result.last().last = at;
        else
            result.append({at, at});
        column = at + 1;
    }
    return result;
}

QVector<camera_timeline::tick> camera_timeline::ticks(int width) const
{
    const QFontMetrics metrics = fontMetrics();
    const int gap = 2 * metrics.averageCharWidth();
    for (const tick_step& step : tick_steps) {
        if ((span_end - span_start) / step.rough_ms() > max_ticks + 1)
            continue;
        const QVector<qint64> times = tick_times(step, span_start, span_end, max_ticks);
        if (times.size() > max_ticks)
            continue;
        // Below a day a tick shows the time, and the date under it where the day changes;
        // from a day on, the date alone.
        const bool with_time = step.ms && step.ms < day;
        const QString time_format = with_time ? seconds_as_needed(time_part, step.ms < minute) : QString();
        QVector<tick> result;
        int widest = 0;
        qint64 previous_day = 0;
        for (const qint64 t : times) {
            const QDateTime moment = wall_clock(t);
            tick next{int(std::floor(x_of(t, width))), moment.toString(with_time ? time_format : date_part), {}};
            if (with_time && (result.isEmpty() || floor_div(t, day) != previous_day))
                next.date = moment.toString(date_part);
            previous_day = floor_div(t, day);
            widest = qMax(widest, qMax(metrics.horizontalAdvance(next.label), metrics.horizontalAdvance(next.date)));
            result << next;
        }
        if (int(result.size()) * (widest + gap) <= width)
            return result;
    }
    return {};
}

void camera_timeline::rebuild(const layout& at)
{
    cache.at = at;
    cache.old_marks.clear();
    cache.new_marks.clear();
    for (int i = 0; i < lanes.size(); ++i) {
        cache.old_marks << runs(lanes.at(i).times, 0, at.plot.width());
        cache.new_marks << runs(lanes.at(i).times, shift(i), at.plot.width());
    }
    cache.ticks = ticks(at.plot.width());
    cache.valid = true;
}

void camera_timeline::invalidate()
{
    cache.valid = false;
    update();
}

void camera_timeline::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), plot_background);
    if (lanes.isEmpty())
        return;
    const layout at = current_layout();
    if (!cache.valid || !(cache.at == at))
        rebuild(at);

    // Marks and rules lie on whole pixels; antialiasing would only smear them over two.
    const QRect& plot = at.plot;
    const QFontMetrics metrics = fontMetrics();
    const int pad = metrics.averageCharWidth();
    painter.fillRect(QRect(0, 0, plot.left(), plot.height()), name_background);
    for (const tick& t : cache.ticks)
        painter.fillRect(QRect(plot.left() + t.x, 0, 1, plot.height()), grid);

    const int inset = at.lane_height / 4;
    for (int i = 0; i < lanes.size(); ++i) {
        const int top = i * at.lane_height;
        if (i > 0)
            painter.fillRect(QRect(0, top, width(), 1), separator);
        painter.setPen(name_text);
        const int name_width = plot.left() - 2 * pad + 1;
        painter.drawText(QRect(pad, top, name_width, at.lane_height), Qt::AlignLeft | Qt::AlignVCenter,
            metrics.elidedText(lanes.at(i).name, Qt::ElideRight, name_width));

        const QColor bright = QColor::fromRgb(lane_colours[i % std::size(lane_colours)]);
        QColor faint = bright;
        faint.setAlpha(old_alpha);
        const int bar_top = top + inset, bar_height = at.lane_height - 2 * inset;
        for (const run& r : cache.old_marks.at(i))
            painter.fillRect(QRect(plot.left() + r.first, bar_top, r.last - r.first + mark_width, bar_height), faint);
        for (const run& r : cache.new_marks.at(i))
            painter.fillRect(QRect(plot.left() + r.first, bar_top, r.last - r.first + mark_width, bar_height), bright);
    }

    painter.fillRect(QRect(0, plot.bottom() + 1, width(), 1), axis_line);
    painter.setPen(axis_text);
    const int line = metrics.height();
    const int label_top = plot.bottom() + 2 + tick_length;
    for (const tick& t : cache.ticks) {
        const int x = plot.left() + t.x;
        painter.fillRect(QRect(x, plot.bottom() + 2, 1, tick_length), axis_line);
        int row = label_top;
        for (const QString& text : {t.label, t.date}) {
            if (text.isEmpty())
                break;
            const int text_width = metrics.horizontalAdvance(text);
            const int left = qBound(0, x - text_width / 2, qMax(0, width() - text_width));
            painter.drawText(QRect(left, row, text_width, line), Qt::AlignLeft | Qt::AlignTop, text);
            row += line;
        }
    }
}

void camera_timeline::mousePressEvent(QMouseEvent* event)
{
    const layout at = current_layout();
    const QPoint point = event->pos();
    if (event->button() != Qt::LeftButton || lanes.isEmpty() || point.y() < 0 || point.y() >= at.plot.height()) {
        QWidget::mousePressEvent(event);
        return;
    }
    const int lane = point.y() / at.lane_height;
    const QVector<qint64>& times = lanes.at(lane).times;
    const int width = at.plot.width();
    // A mark covers its column and the next; the click's pixel centre is measured to that middle.
    const double click = point.x() - at.plot.left() + 0.5;
    const auto distance = [&](int index) {
        const double column = std::floor(x_of(times.at(index) + shift(lane), width));
        return std::abs(click - (qBound(0.0, column, width - 1.0) + mark_width / 2.0));
    };
    const qint64 target = span_start + qint64(click * double(span_end - span_start) / width) - shift(lane);
    const int after = int(std::lower_bound(times.cbegin(), times.cend(), target) - times.cbegin());
    int nearest = -1;
    for (const int index : {after - 1, after})
        if (index >= 0 && index < times.size() && (nearest < 0 || distance(index) < distance(nearest)))
            nearest = index;
    if (nearest >= 0 && distance(nearest) <= hit_distance + 0.5 && nearest < lanes.at(lane).paths.size())
        emit mark_clicked(lanes.at(lane).paths.at(nearest));
}
