#pragma once

#include <QList>
#include <QLocale>
#include <QMap>
#include <QString>

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

} // namespace ondo
