#include "datetime_format.h"

#include "ui_datetime_format.h"

#include <ondo/style.h>

#include <QFont>
#include <QLocale>
#include <QSettings>

const QStringList datetime_format::date_formats = {
    "dd/MM/yyyy", "dd.MM.yyyy", "dd-MM-yyyy", "yyyy/MM/dd", "yyyy.MM.dd", "yyyy-MM-dd", "MM/dd/yyyy",
};

// "HH" keeps the 24-hour clock whatever the locale.
const QStringList datetime_format::time_formats = {"HH:mm:ss", "HH:mm"};

namespace {

QSettings& settings()
{
    static QSettings store;
    return store;
}

// The order of day, month and year in `format` ("dMy" for "dd.MM.yy") and the first separator
// between them, read past quoted text and marks such as right-to-left ones. An empty order when a
// field is missing or the month is spelled out.
struct date_order {
    QString fields;
    QChar separator;
};

date_order order_of(const QString& format)
{
    date_order order;
    bool quoted = false;
    for (const QChar c : format) {
        if (c == QLatin1Char('\''))
            quoted = !quoted;
        else if (quoted)
            continue;
        else if (c == QLatin1Char('d') || c == QLatin1Char('M') || c == QLatin1Char('y')) {
            if (!order.fields.endsWith(c))
                order.fields += c;
        } else if (order.separator.isNull() && order.fields.size() == 1
                   && (c == QLatin1Char('.') || c == QLatin1Char('/') || c == QLatin1Char('-'))) {
            order.separator = c;
        }
    }
    if (order.fields.size() != 3 || format.contains(QLatin1String("MMM")))
        order.fields.clear();
    return order;
}

// The offered format nearest to the locale's short date: the same order of the fields, with the
// locale's separator where one of that order has it. ISO for the C locale, which has no habit of
// its own, and for an order the panel doesn't offer.
QString default_date_format(const QLocale& locale)
{
    const QString iso = QStringLiteral("yyyy-MM-dd");
    if (locale.language() == QLocale::C)
        return iso;
    const date_order wanted = order_of(locale.dateFormat(QLocale::ShortFormat));
    if (wanted.fields.isEmpty())
        return iso;
    QString same_order;
    for (const QString& offered : datetime_format::date_formats) {
        const date_order order = order_of(offered);
        if (order.fields != wanted.fields)
            continue;
        if (order.separator == wanted.separator)
            return offered;
        if (same_order.isEmpty())
            same_order = offered;
    }
    return same_order.isEmpty() ? iso : same_order;
}

} // namespace

datetime_format::datetime_format(QWidget* parent) : QWidget(parent), ui(new Ui_datetime_format)
{
    ui->setupUi(this);
    // A plain QWidget subclass paints no style-sheet background or frame unless asked to.
    setAttribute(Qt::WA_StyledBackground);
    load_settings();
    QFont heading("FreeSansBold");
    heading.setWeight(QFont::Bold);
    heading.setPointSize(11);
    heading = ondo::design_font(heading);
    ui->label->setFont(heading);
    ui->label_2->setFont(heading);
}

datetime_format::~datetime_format() { delete ui; }

void datetime_format::load_settings()
{
    // Until a choice is stored, the dates read as the user's locale writes them.
    date_format = settings().value("date_format", default_date_format(QLocale())).toString();
    time_format = settings().value("time_format", "HH:mm:ss").toString();

    // Buttons in an exclusive group can't all be unchecked one by one; lift the rule while
    // setting them so that an unknown stored format leaves its group without a check.
    ui->buttongroup_date->setExclusive(false);
    ui->buttongroup_time->setExclusive(false);
    ui->rb_ddmmyyyy_slash->setChecked(date_format == date_formats[0]);
    ui->rb_ddmmyyyy_dot->setChecked(date_format == date_formats[1]);
    ui->rb_ddmmyyyy_dash->setChecked(date_format == date_formats[2]);
    ui->rb_yyyymmdd_slash->setChecked(date_format == date_formats[3]);
    ui->rb_yyyymmdd_dot->setChecked(date_format == date_formats[4]);
    ui->rb_yyyymmdd_dash->setChecked(date_format == date_formats[5]);
    ui->rb_mmddyyyy_slash->setChecked(date_format == date_formats[6]);
    ui->rb_hhmmss->setChecked(time_format == time_formats[0]);
    ui->rb_hhmm->setChecked(time_format == time_formats[1]);
    ui->buttongroup_date->setExclusive(true);
    ui->buttongroup_time->setExclusive(true);
}

void datetime_format::save_settings()
{
    settings().setValue("date_format", date_format);
    settings().setValue("time_format", time_format);
}

QString datetime_format::get_datetime_format() const
{
    return QString("%1 - %2").arg(date_format, time_format);
}

void datetime_format::selection_changed()
{
    // Stored before the table hears of it.
    save_settings();
    emit format_changed(get_datetime_format());
}

void datetime_format::on_rb_ddmmyyyy_slash_clicked()
{
    date_format = date_formats[0];
    selection_changed();
}

void datetime_format::on_rb_ddmmyyyy_dot_clicked()
{
    date_format = date_formats[1];
    selection_changed();
}

void datetime_format::on_rb_ddmmyyyy_dash_clicked()
{
    date_format = date_formats[2];
    selection_changed();
}

void datetime_format::on_rb_yyyymmdd_slash_clicked()
{
    date_format = date_formats[3];
    selection_changed();
}

void datetime_format::on_rb_yyyymmdd_dot_clicked()
{
    date_format = date_formats[4];
    selection_changed();
}

void datetime_format::on_rb_yyyymmdd_dash_clicked()
{
    date_format = date_formats[5];
    selection_changed();
}

void datetime_format::on_rb_mmddyyyy_slash_clicked()
{
    date_format = date_formats[6];
    selection_changed();
}

void datetime_format::on_rb_hhmmss_clicked()
{
    time_format = time_formats[0];
    selection_changed();
}

void datetime_format::on_rb_hhmm_clicked()
{
    time_format = time_formats[1];
    selection_changed();
}
