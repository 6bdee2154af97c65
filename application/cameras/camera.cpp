#include "camera.h"

#include <QCoreApplication>
#include <QStringList>

namespace {

QString first_of(const exif_tag_map& tags, const QStringList& names)
{
    for (const QString& name : names) {
        const auto found = tags.find(name);
        if (found != tags.end() && !found->second.trimmed().isEmpty())
            return found->second.trimmed();
    }
    return QString();
}

// A maker note's serial: any group's SerialNumber, then any group's InternalSerialNumber.
QString maker_serial(const exif_tag_map& tags, const QString& name)
{
    static const QStringList elsewhere = {QStringLiteral("ExifIFD"), QStringLiteral("XMP-aux")};
    for (const auto& [tag, value] : tags) {
        const int colon = tag.indexOf(QLatin1Char(':'));
        if (colon > 0 && QStringView(tag).mid(colon + 1) == name && !elsewhere.contains(tag.left(colon))
            && !value.trimmed().isEmpty())
            return value.trimmed();
    }
    return QString();
}

// Keys hold no line breaks or separators of their own: each part is kept as it is, with its
// separator escaped.
QString escaped(QString part)
{
    return part.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
}

} // namespace

camera camera::of(const exif_tag_map& tags)
{
    camera body;
    body.make = first_of(tags, {QStringLiteral("IFD0:Make"), QStringLiteral("Keys:Make"), QStringLiteral("UserData:Make"),
                                QStringLiteral("XMP-tiff:Make")});
    body.model = first_of(tags, {QStringLiteral("IFD0:Model"), QStringLiteral("Keys:Model"), QStringLiteral("UserData:Model"),
                                 QStringLiteral("XMP-tiff:Model")});
    body.serial = first_of(tags, {QStringLiteral("ExifIFD:SerialNumber")});
    if (body.serial.isEmpty())
        body.serial = maker_serial(tags, QStringLiteral("SerialNumber"));
    if (body.serial.isEmpty())
        body.serial = maker_serial(tags, QStringLiteral("InternalSerialNumber"));
    if (body.serial.isEmpty())
        body.serial = first_of(tags, {QStringLiteral("XMP-aux:SerialNumber")});
    return body;
}

QString camera::key() const
{
    if (unknown())
        return QString();
    return escaped(make) + QLatin1Char('\n') + escaped(model) + QLatin1Char('\n') + escaped(serial);
}

camera camera::from_key(const QString& key)
{
    camera body;
    const QStringList parts = key.split(QLatin1Char('\n'));
    auto unescaped = [](QString part) {
        QString text;
        for (int i = 0; i < part.size(); ++i) {
            if (part.at(i) == QLatin1Char('\\') && i + 1 < part.size()) {
                ++i;
                text += part.at(i) == QLatin1Char('n') ? QLatin1Char('\n') : part.at(i);
            } else {
                text += part.at(i);
            }
        }
        return text;
    };
    if (parts.size() == 3) {
        body.make = unescaped(parts.at(0));
        body.model = unescaped(parts.at(1));
        body.serial = unescaped(parts.at(2));
    }
    return body;
}

QString camera::name(bool shared_model) const
{
    if (unknown())
        return QCoreApplication::translate("camera", "Unknown camera");
    const QString maker = make.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty);
    QString text = model;
    if (text.isEmpty())
        text = make;
    else if (!maker.isEmpty() && !model.startsWith(maker, Qt::CaseInsensitive))
        text = maker + QLatin1Char(' ') + model;
    if (shared_model && !serial.isEmpty())
        text += QStringLiteral(" …") + serial.right(4);
    return text;
}
