#include "time_adjustment.h"

#include "ui_time_adjustment.h"

#include <QDoubleValidator>
#include <QIntValidator>
#include <QLocale>

#include <utility>

namespace {

// Hours of zone: the decimal sign may be a comma or a point in every locale. Under the C locale
// (many sessions, every container) a comma would otherwise pass the validator as a group
// separator and count as nothing.
QString with_decimal_point(QString text) { return text.replace(QLatin1Char(','), QLatin1Char('.')); }

class zone_validator : public QDoubleValidator {
public:
    explicit zone_validator(QObject* parent) : QDoubleValidator(-12.0, 14.0, 2, parent)
    {
        setNotation(QDoubleValidator::StandardNotation);
        QLocale point = QLocale::c();
        point.setNumberOptions(QLocale::RejectGroupSeparator);
        setLocale(point);
    }
    State validate(QString& input, int& pos) const override
    {
        QString text = with_decimal_point(input);
        return QDoubleValidator::validate(text, pos);
    }
};

} // namespace

time_adjustment::time_adjustment(QWidget* parent) : QWidget(parent), ui(new Ui_time_adjustment)
{
    ui->setupUi(this);
    // A plain QWidget subclass paints no style-sheet background or frame unless asked to.
    setAttribute(Qt::WA_StyledBackground);
    // No bounds on the integer fields: 400 days or -5000 minutes are ordinary offsets.
    for (QLineEdit* field : {ui->lineedit_year, ui->lineedit_month, ui->lineedit_day, ui->lineedit_hour,
                             ui->lineedit_minute, ui->lineedit_second})
        field->setValidator(new QIntValidator(field));
    ui->lineedit_timezone->setValidator(new zone_validator(ui->lineedit_timezone));
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

void time_adjustment::set_offset(int year, int month, int day, int hour, int minute, int second)
{
    const std::pair<QLineEdit*, int> fields[] = {{ui->lineedit_year, year},     {ui->lineedit_month, month},
                                                 {ui->lineedit_day, day},       {ui->lineedit_hour, hour},
                                                 {ui->lineedit_minute, minute}, {ui->lineedit_second, second}};
    for (const auto& field : fields)
        field.first->setText(field.second == 0 ? QString() : QString::number(field.second));
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
    // What the validator lets stand always reads; only a part such as a lone "-" gives 0.
    timezone = with_decimal_point(text).toDouble();
    values_changed();
}
