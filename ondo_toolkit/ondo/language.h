#pragma once

#include <QList>
#include <QLocale>
#include <QMap>
#include <QString>

class QTranslator;
class QWidget;

namespace ondo {

// Locales taken from the system at first start: German, then English.
extern const QList<QLocale> supported_languages;

// QLocale::Language to language code. Korean is "kr" here, and stays so.
extern const QMap<int, QString> language_codes;

// The language code in force: the stored value of `key` as it stands if there is one,
// otherwise the system's language if it is supported, otherwise "en". Nothing is stored.
QString get_language_suffix(const QString& key);

// The code of the locale's language (its country does not count), or "" if it has none.
QString get_lang_value_for_locale(const QLocale& locale);

// Loads and installs, in this order, Qt's own catalogue for `lang` ("qtbase_<lang>" in Qt's
// translations folder), the application's (":/translations/<lang>", the English one when there
// is none) and the toolkit's (":/translations/toolkit_<lang>"). Each stays installed, empty when
// its catalogue is missing. The caller owns them.
QList<QTranslator*> install_translators(const QString& lang);

// After a change of the stored language: asks whether to quit now or continue in the old
// language until the next start. Quits and returns true on "Quit now"; false when the language
// is still `old_language` or the user continues.
bool ask_for_application_restart_if_language_changed(QWidget* parent, const QString& old_language);

} // namespace ondo
