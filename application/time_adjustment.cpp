#include "time_adjustment.h"

#include "ui_time_adjustment.h"

#include <QDoubleValidator>
#include <QIntValidator>
#include <QLocale>

time_adjustment::time_adjustment(QWidget* parent) : QWidget(parent), ui(new Ui_time_adjustment)
{
    ui->setupUi(this);
    // A plain QWidget subclass paints no style-sheet background or frame unless asked to.
    setAttribute(Qt::WA_StyledBackground);
    // No bounds on the integer fields: 400 days or -5000 minutes are ordinary offsets.
    for (QLineEdit* field : {ui->lineedit_year, ui->lineedit_month, ui->lineedit_day, ui->lineedit_hour,
                             ui->lineedit_minute, ui->lineedit_second})
        field->setValidator(new QIntValidator(field));
    auto* zone = new QDoubleValidator(-12.0, 14.0, 2, ui->lineedit_timezone);
    zone->setNotation(QDoubleValidator::StandardNotation);
    ui->lineedit_timezone->setValidator(zone);
}

time_adjustment::~time_adjustment() { delete ui; }

void time_adjustment::clear()
{
    ui->lineedit_year->setText(QString());
    ui->lineedit_month->setText(QString());
    ui->lineedit_day->setText(QString());
    ui->lineedit_hour->setText(QString());
    ui->lineedit_minute->setText(QString());
    ui->lineedit_second->setText(QString());
    ui->lineedit_timezone->setText(QString());
}

void time_adjustment::init_focus() { ui->lineedit_year->setFocus(Qt::OtherFocusReason); }

bool time_adjustment::has_timezone_offset() const { return !ui->lineedit_timezone->text().isEmpty(); }

void time_adjustment::setWidgetsToolTip(QString const& text)
{
    for (QWidget* w : std::initializer_list<QWidget*>{
             ui->label_year, ui->label_month, ui->label_day, ui->label_hour, ui->label_minute, ui->label_second,
             ui->label_timezone, ui->lineedit_year, ui->lineedit_month, ui->lineedit_day, ui->lineedit_hour,
             ui->lineedit_minute, ui->lineedit_second, ui->lineedit_timezone})
        w->setToolTip(text);
}

void time_adjustment::values_changed()
{
    emit time_offset_changed(year, month, day, hour, minute, second, has_timezone_offset(), timezone);
}

// The validators only steer typing: an intermediate text such as a lone "-" can stand in a
// field, and toInt makes it 0.
void time_adjustment::on_lineedit_year_textChanged(QString const& text)
{
    year = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_month_textChanged(QString const& text)
{
    month = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_day_textChanged(QString const& text)
{
    day = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_hour_textChanged(QString const& text)
{
    hour = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_minute_textChanged(QString const& text)
{
    minute = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_second_textChanged(QString const& text)
{
    second = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_timezone_textChanged(QString const& text)
{
    // C notation first; then the user's locale, so that "1,5" reads as 1.5 where the comma is
    // the decimal sign. Unreadable text gives 0.
    bool ok = false;
    timezone = text.toDouble(&ok);
    if (!ok)
        timezone = QLocale().toDouble(text);
    values_changed();
}
