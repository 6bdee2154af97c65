#include "user_guide.h"

#include <QDir>
#include <QFile>
#include <QPageLayout>
#include <QPdfWriter>
#include <QRegularExpression>
#include <QTextDocument>

namespace user_guide {

QString write(const QString& lang, bool with_pdf)
{
    QFile source(QString(":/help/guide_%1.html").arg(lang));
    if (!source.exists())
        source.setFileName(":/help/guide_en.html");
    source.open(QIODevice::ReadOnly);
    const QByteArray html = source.readAll();

    const QString stem = QDir::tempPath() + QString("/tavimo_guide_%1").arg(lang);
    QFile page(stem + ".html");
    if (page.open(QIODevice::WriteOnly))
        page.write(html);
    page.close();

    if (with_pdf) {
        // Printed black on white: the page's dark sheet is for the screen.
        QString printable = QString::fromUtf8(html);
        printable.remove(QRegularExpression("<style[^>]*>.*</style>", QRegularExpression::DotMatchesEverythingOption));
        QTextDocument document;
        document.setDefaultFont(QFont("FreeSans", 11));
        document.setHtml(printable);
        QPdfWriter pdf(stem + ".pdf");
        pdf.setTitle(document.metaInformation(QTextDocument::DocumentTitle));
        pdf.setCreator("Tavimo");
        pdf.setPageSize(QPageSize(QPageSize::A4));
        pdf.setPageMargins(QMarginsF(20, 20, 20, 20), QPageLayout::Millimeter);
        document.print(&pdf);
    }
    return page.fileName();
}

} // namespace user_guide
