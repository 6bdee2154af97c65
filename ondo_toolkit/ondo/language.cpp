#include "ondo/language.h"

#include <QSettings>

namespace ondo {

const QList<QLocale> supported_languages = {
    QLocale(QLocale::German, QLocale::AnyCountry),
    QLocale(QLocale::English, QLocale::AnyCountry),
};

const QMap<int, QString> language_codes = {
    {QLocale::English, QStringLiteral("en")},
    {QLocale::French, QStringLiteral("fr")},
    {QLocale::German, QStringLiteral("de")},
    {QLocale::Korean, QStringLiteral("kr")},
};

QString get_language_suffix(const QString& key)
{
    const QString stored = QSettings().value(key, QVariant()).toString();
    if (!stored.isEmpty())
        return stored;

    const QLocale::Language language = QLocale::system().language();
    if (language_codes.contains(language)
        && supported_languages.contains(QLocale(language, QLocale::AnyCountry)))
        return language_codes.value(language);
    return language_codes.value(QLocale::English);
}

QString get_lang_value_for_locale(const QLocale& locale)
{
    return language_codes.value(locale.language());
}

} // namespace ondo
