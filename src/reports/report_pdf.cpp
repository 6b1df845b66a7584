#include "reports/report_pdf.h"

#include <QFile>
#include <QFileInfo>
#include <QPrinter>
#include <QTextDocument>
#include <QUrl>
#include "core/file_services.h"
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
    AtomicFile file(path);
    QString why;
    if (!file.open(&why))
        return fail(path + QStringLiteral(" (") + why + u')');
    {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(file.temporaryPath());
        document.print(&printer);
    }
    if (QFileInfo(file.temporaryPath()).size() == 0)
        return fail(path);
    if (!file.commit(&why))
        return fail(path + QStringLiteral(" (") + why + u')');
    return true;
}

}  // namespace tlm
