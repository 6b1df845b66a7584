#include "reports/report_pdf.h"

#include <sys/stat.h>
#include <QFile>
#include <QFileInfo>
#include <QPrinter>
#include <QTemporaryFile>
#include <QTextDocument>
#include <QUrl>
#include <cstdio>

#include "reports/report_render.h"

namespace tlm {

std::unique_ptr<QTextDocument> ReportPageDocument(const QString& page, const QImage& chart) {
    auto document = std::make_unique<QTextDocument>();
    if (!chart.isNull())
        document->addResource(QTextDocument::ImageResource, QUrl(kChartImageName), chart);
    document->setHtml(page);
    return document;
}

bool PrintDocumentToPdf(QTextDocument& document, const QString& path, QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = QStringLiteral("The file could not be written: ") + why;
        return false;
    };
    QTemporaryFile reserve(QFileInfo(path).absolutePath() + QStringLiteral("/.pdf-XXXXXX"));
    if (!reserve.open())
        return fail(path + QStringLiteral(" (") + reserve.errorString() + u')');
    reserve.close();
    {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(reserve.fileName());
        document.print(&printer);
    }
    if (QFileInfo(reserve.fileName()).size() == 0)
        return fail(path);
    // A rename over an existing file replaces it in one step.
    if (std::rename(QFile::encodeName(reserve.fileName()).constData(), QFile::encodeName(path).constData()) !=
        0)
        return fail(path);
    reserve.setAutoRemove(false);
    // The reservation was private to the owner; the file gets a new file's usual mode.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(QFile::encodeName(path).constData(), 0666 & ~mask);
    return true;
}

}  // namespace tlm
