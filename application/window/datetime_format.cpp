#include "datetime_format.h"

#include "ui_datetime_format.h"

#include <ondo/style.h>

#include <QFont>
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
    date_format = settings().value("date_format", "dd.MM.yyyy").toString();
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
