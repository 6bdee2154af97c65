#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

class Ui_datetime_format;

// Two groups of radios for the table's date and time display. The choice is kept in the
// settings as the format text itself; files are always written in their own fixed format.
class datetime_format : public QWidget {
    Q_OBJECT
public:
    explicit datetime_format(QWidget* parent = nullptr);
    ~datetime_format() override;

    // The rows index the radios, in the order of the form.
    static const QStringList date_formats;
    static const QStringList time_formats;

    // A stored text that is no row is used all the same, with no radio of its group checked.
    // Without a stored date format, the row nearest to the default locale's short date is taken
    // (MM/DD/YYYY for en_US, DD.MM.YYYY for de, YYYY-MM-DD for C); it is stored only once chosen.
    void load_settings();
    void save_settings();
    // "<date> - <time>", e.g. "dd.MM.yyyy - HH:mm:ss".
    QString get_datetime_format() const;
    void selection_changed();

signals:
    void format_changed(QString format);

private slots:
    void on_rb_ddmmyyyy_slash_clicked();
    void on_rb_ddmmyyyy_dot_clicked();
    void on_rb_ddmmyyyy_dash_clicked();
    void on_rb_yyyymmdd_slash_clicked();
    void on_rb_yyyymmdd_dot_clicked();
    void on_rb_yyyymmdd_dash_clicked();
    void on_rb_mmddyyyy_slash_clicked();
    void on_rb_hhmmss_clicked();
    void on_rb_hhmm_clicked();

private:
    Ui_datetime_format* ui;
    QString date_format;
    QString time_format;
};
