#pragma once

#include <QImage>
#include <QString>
#include <memory>

class QTextDocument;

namespace tlm {

// The report page as a document, with the chart image found under its name on the page.
std::unique_ptr<QTextDocument> ReportPageDocument(const QString& page, const QImage& chart);
// Prints the document to a PDF file. It is written under a temporary name beside the target and
// renamed into place when complete, so a failure leaves no file behind. error gets the reason.
bool PrintDocumentToPdf(QTextDocument& document, const QString& path, QString* error);

}  // namespace tlm
