#include "reports/report_export.h"

#include <xlsxwriter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamWriter>

#include <cstdio>

#include "core/file_services.h"
#include "core/money.h"
#include "database/connection.h"
#include "database/cursor.h"

namespace tlm {

namespace {

constexpr qint64 kFlushBytes = 1 << 16;

// Gathers the text and hands it to the device as UTF-8 in large pieces.
class BufferedOut {
  public:
    explicit BufferedOut(QIODevice* device) : device_(device) { buffer_.reserve(kFlushBytes + 4096); }
    void Add(const QString& text) { buffer_ += text; }
    void Add(QChar c) { buffer_ += c; }
    void Add(QLatin1StringView text) { buffer_ += text; }
    bool MaybeFlush() { return buffer_.size() < kFlushBytes || Flush(); }
    bool Flush() {
        const QByteArray bytes = buffer_.toUtf8();
        buffer_.clear();
        return bytes.isEmpty() || device_->write(bytes) == bytes.size();
    }

  private:
    QIODevice* device_;
    QString buffer_;
};

QString WriteFailure(QIODevice* device) {
    return QStringLiteral("The file could not be written: ") + device->errorString();
}

class TextWriter : public ReportWriter {
  public:
    TextWriter(QIODevice* device, DateTextFn dateText)
        : device_(device), out_(device), dateText_(std::move(dateText)) {}
    bool Begin(const QStringList& headings) override { return Line(headings); }
    bool Row(const QVariantList& cells) override {
        QStringList texts;
        texts.reserve(cells.size());
        for (const QVariant& v : cells)
            texts.append(CellText(v, dateText_));
        return Line(texts);
    }
    bool Summary(const QStringList& cells) override { return Line(cells); }
    bool Finish() override {
        if (!out_.Flush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }

  private:
    bool Line(const QStringList& cells) {
        for (qsizetype i = 0; i < cells.size(); ++i) {
            if (i > 0)
                out_.Add(u'\t');
            const QString& c = cells[i];
            const bool qualify = c.contains(u'\t') || c.contains(u'\r') || c.contains(u'\n');
            if (qualify)
                out_.Add(QLatin1StringView("\r\n"));
            out_.Add(c);
            if (qualify)
                out_.Add(QLatin1StringView("\r\n"));
        }
        out_.Add(QLatin1StringView("\r\n"));
        if (!out_.MaybeFlush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }
    QIODevice* device_;
    BufferedOut out_;
    DateTextFn dateText_;
};

void AddHtmlEscaped(BufferedOut& out, const QString& s) {
    for (const QChar c : s) {
        switch (c.unicode()) {
            case u'<':
                out.Add(QLatin1StringView("&lt;"));
                break;
            case u'>':
                out.Add(QLatin1StringView("&gt;"));
                break;
            case u'&':
                out.Add(QLatin1StringView("&amp;"));
                break;
            case u'"':
                out.Add(QLatin1StringView("&quot;"));
                break;
            default:
                out.Add(c);
        }
    }
}

class HtmlWriter : public ReportWriter {
  public:
    HtmlWriter(QIODevice* device, DateTextFn dateText, bool append)
        : device_(device), out_(device), dateText_(std::move(dateText)), append_(append) {}
    bool Begin(const QStringList& headings) override {
        if (!append_)
            out_.Add(
                QStringLiteral("<html>\r\n<head><meta charset=\"utf-8\"><title>Reports</title></head>\r\n"
                               "<body>\r\n"));
        out_.Add(
            QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"3\" "
                           "style=\"font-family:Tahoma;font-size:9pt\">\r\n"));
        return Line(headings);
    }
    bool Row(const QVariantList& cells) override {
        QStringList texts;
        texts.reserve(cells.size());
        for (const QVariant& v : cells)
            texts.append(CellText(v, dateText_));
        return Line(texts);
    }
    bool Summary(const QStringList& cells) override { return Line(cells); }
    bool Finish() override {
        out_.Add(QStringLiteral("</table>\r\n"));
        if (!append_)
            out_.Add(QStringLiteral("</body>\r\n</html>\r\n"));
        if (!out_.Flush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }

  private:
    bool Line(const QStringList& cells) {
        out_.Add(QLatin1StringView("<tr>"));
        for (const QString& c : cells) {
            out_.Add(QLatin1StringView("<td>"));
            AddHtmlEscaped(out_, c);
            out_.Add(QLatin1StringView("</td>"));
        }
        out_.Add(QLatin1StringView("</tr>\r\n"));
        if (!out_.MaybeFlush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }
    QIODevice* device_;
    BufferedOut out_;
    DateTextFn dateText_;
    bool append_;
};

class XmlWriter : public ReportWriter {
  public:
    XmlWriter(QIODevice* device, DateTextFn dateText)
        : device_(device), xml_(device), dateText_(std::move(dateText)) {
        xml_.setAutoFormatting(true);
    }
    bool Begin(const QStringList& headings) override {
        for (const QString& h : headings)
            names_.append(XmlElementName(h));
        xml_.writeStartDocument();
        xml_.writeStartElement(QStringLiteral("Reports"));
        return Check();
    }
    bool Row(const QVariantList& cells) override {
        QStringList texts;
        texts.reserve(cells.size());
        for (const QVariant& v : cells)
            texts.append(CellText(v, dateText_));
        return Summary(texts);
    }
    bool Summary(const QStringList& cells) override {
        xml_.writeStartElement(QStringLiteral("TimeSheet"));
        for (qsizetype i = 0; i < names_.size() && i < cells.size(); ++i)
            xml_.writeTextElement(names_[i], cells[i]);
        xml_.writeEndElement();
        return Check();
    }
    bool Finish() override {
        xml_.writeEndElement();
        xml_.writeEndDocument();
        return Check();
    }

  private:
    bool Check() {
        if (xml_.hasError()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }
    QIODevice* device_;
    QXmlStreamWriter xml_;
    DateTextFn dateText_;
    QStringList names_;
};

// The most rows one worksheet holds.
constexpr qint64 kSheetRows = 1048576;

class XlsxWriter : public ReportWriter {
  public:
    XlsxWriter(const QString& path, DateTextFn dateText) : dateText_(std::move(dateText)) {
        lxw_workbook_options options{};
        options.constant_memory = LXW_TRUE;
        const QByteArray dir = QFile::encodeName(QFileInfo(path).absolutePath());
        options.tmpdir = const_cast<char*>(dir.constData());
        workbook_ = workbook_new_opt(QFile::encodeName(path).constData(), &options);
        if (workbook_) {
            sheet_ = workbook_add_worksheet(workbook_, nullptr);
            dateFormat_ = workbook_add_format(workbook_);
            format_set_num_format(dateFormat_, "m/d/yyyy h:mm:ss");
            dayFormat_ = workbook_add_format(workbook_);
            format_set_num_format(dayFormat_, "m/d/yyyy");
            boldFormat_ = workbook_add_format(workbook_);
            format_set_bold(boldFormat_);
        }
    }
    ~XlsxWriter() override {
        if (workbook_)
            workbook_close(workbook_);
    }
    bool Begin(const QStringList& headings) override {
        if (!workbook_ || !sheet_)
            return Fail(QStringLiteral("The workbook could not be created."));
        for (qsizetype i = 0; i < headings.size(); ++i)
            Put(lxw_col_t(i), headings[i], boldFormat_);
        return Next();
    }
    bool Row(const QVariantList& cells) override {
        for (qsizetype i = 0; i < cells.size(); ++i) {
            const QVariant& v = cells[i];
            const lxw_col_t col = lxw_col_t(i);
            if (!v.isValid() || v.isNull())
                continue;
            if (v.metaType() == QMetaType::fromType<Money>()) {
                worksheet_write_number(sheet_, row_, col, v.value<Money>().toDouble(), nullptr);
                continue;
            }
            switch (v.typeId()) {
                case QMetaType::Int:
                case QMetaType::LongLong:
                case QMetaType::UInt:
                case QMetaType::ULongLong:
                case QMetaType::Double:
                case QMetaType::Float:
                    worksheet_write_number(sheet_, row_, col, v.toDouble(), nullptr);
                    break;
                case QMetaType::QDateTime: {
                    const QDateTime dt = v.toDateTime();
                    lxw_datetime x{dt.date().year(), dt.date().month(),  dt.date().day(),
                                   dt.time().hour(), dt.time().minute(), double(dt.time().second())};
                    worksheet_write_datetime(sheet_, row_, col, &x,
                                             dt.time() == QTime(0, 0) ? dayFormat_ : dateFormat_);
                    break;
                }
                default:
                    Put(col, CellText(v, dateText_), nullptr);
            }
        }
        return Next();
    }
    bool Summary(const QStringList& cells) override {
        for (qsizetype i = 0; i < cells.size(); ++i)
            if (!cells[i].isEmpty())
                Put(lxw_col_t(i), cells[i], boldFormat_);
        return Next();
    }
    bool Finish() override {
        lxw_workbook* wb = std::exchange(workbook_, nullptr);
        const lxw_error e = workbook_close(wb);
        if (e != LXW_NO_ERROR)
            return Fail(QStringLiteral("The workbook could not be written: ") +
                        QString::fromUtf8(lxw_strerror(e)));
        return true;
    }

  private:
    void Put(lxw_col_t col, const QString& text, lxw_format* format) {
        if (text.isEmpty())
            return;
        const QByteArray utf8 = text.toUtf8();
        worksheet_write_string(sheet_, row_, col, utf8.constData(), format);
    }
    bool Next() {
        if (++row_ >= kSheetRows)
            return Fail(
                QStringLiteral("The report has more rows than one worksheet holds (%1).").arg(kSheetRows));
        return true;
    }
    bool Fail(const QString& text) {
        error = text;
        return false;
    }
    DateTextFn dateText_;
    lxw_workbook* workbook_ = nullptr;
    lxw_worksheet* sheet_ = nullptr;
    lxw_format* dateFormat_ = nullptr;
    lxw_format* dayFormat_ = nullptr;
    lxw_format* boldFormat_ = nullptr;
    lxw_row_t row_ = 0;
};

Failure ExportFailure(const QString& text) {
    return Failure{errnum::kUnspecified, text, 0, QStringLiteral("fReports.ExportToFile")};
}

// Streams the rows of the report into the writer.
ExportOutcome WriteRows(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                        ReportWriter& writer, const std::function<bool(qint64)>& progress, bool requireRows) {
    ExportOutcome out;
    Cursor cursor(std::move(connection));
    if (!cursor.Open(def.sql)) {
        out.failure = cursor.LastError();
        out.databaseFailed = true;
        return out;
    }
    QStringList headings;
    std::vector<int> pos;
    for (const ReportColumn& c : def.exports) {
        headings.append(c.display);
        pos.push_back(cursor.FieldIndex(c.column));
    }
    ReportSummary summary(def);
    summary.Bind(cursor);
    // The heading goes out with the first row, so a report that must not be empty writes nothing.
    bool begun = false;
    const auto begin = [&] {
        begun = true;
        if (writer.Begin(headings))
            return true;
        out.failure = ExportFailure(writer.error);
        return false;
    };
    QVariantList cells;
    while (cursor.Next()) {
        if (!begun && !begin())
            return out;
        cells.clear();
        for (int p : pos)
            cells.append(p >= 0 ? cursor.Value(p) : QVariant());
        summary.Add(cursor);
        if (!writer.Row(cells)) {
            out.failure = ExportFailure(writer.error);
            return out;
        }
        ++out.rows;
        if (progress && out.rows % 1000 == 0 && !progress(out.rows)) {
            out.cancelled = true;
            return out;
        }
    }
    if (cursor.LastError().isSet()) {
        out.failure = cursor.LastError();
        out.databaseFailed = true;
        return out;
    }
    if (!begun) {
        if (requireRows) {
            out.empty = true;
            return out;
        }
        if (!begin())
            return out;
    }
    const Dictionary<QString> totals = summary.Entries();
    QStringList last;
    for (const ReportColumn& c : def.exports)
        last.append(totals.Value(c.column));
    if (!writer.Summary(last) || !writer.Finish()) {
        out.failure = ExportFailure(writer.error);
        return out;
    }
    out.ok = true;
    return out;
}

}  // namespace

std::unique_ptr<ReportWriter> MakeTextWriter(QIODevice* device, DateTextFn dateText) {
    return std::make_unique<TextWriter>(device, std::move(dateText));
}
std::unique_ptr<ReportWriter> MakeHtmlWriter(QIODevice* device, DateTextFn dateText, bool append) {
    return std::make_unique<HtmlWriter>(device, std::move(dateText), append);
}
std::unique_ptr<ReportWriter> MakeXmlWriter(QIODevice* device, DateTextFn dateText) {
    return std::make_unique<XmlWriter>(device, std::move(dateText));
}
std::unique_ptr<ReportWriter> MakeXlsxWriter(const QString& path, DateTextFn dateText) {
    return std::make_unique<XlsxWriter>(path, std::move(dateText));
}

QString XmlElementName(const QString& heading) {
    QString name;
    for (const QChar c : heading) {
        if (c.isSpace())
            continue;
        const bool ok = c.isLetterOrNumber() || c == u'_' || c == u'-' || c == u'.';
        name += ok ? c : QChar(u'_');
    }
    if (name.isEmpty() || !(name[0].isLetter() || name[0] == u'_'))
        name.prepend(u'_');
    return name;
}

static std::unique_ptr<ReportWriter> MakeStreamWriter(ExportFormat format, QIODevice* device,
                                                      const DateTextFn& dateText, bool append) {
    switch (format) {
        case ExportFormat::Text:
            return MakeTextWriter(device, dateText);
        case ExportFormat::Html:
            return MakeHtmlWriter(device, dateText, append);
        case ExportFormat::Xml:
            return MakeXmlWriter(device, dateText);
        default:
            return nullptr;
    }
}

ExportOutcome ExportReportTo(QIODevice* device, std::shared_ptr<Connection> connection,
                             const ReportDefinition& def, ExportFormat format, const DateTextFn& dateText,
                             const std::function<bool(qint64)>& progress, bool requireRows) {
    std::unique_ptr<ReportWriter> writer = MakeStreamWriter(format, device, dateText, false);
    if (!writer) {
        ExportOutcome out;
        out.failure = ExportFailure(QStringLiteral("A workbook cannot be written to a stream."));
        return out;
    }
    return WriteRows(std::move(connection), def, *writer, progress, requireRows);
}

ExportOutcome ExportReport(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                           ExportFormat format, const QString& path, bool append, const DateTextFn& dateText,
                           const std::function<bool(qint64)>& progress, bool requireRows) {
    const auto couldNotWrite = [](const QString& why) {
        ExportOutcome out;
        out.failure = ExportFailure(QStringLiteral("The file could not be written: ") + why);
        return out;
    };
    AtomicFile file(path);
    QString why;
    if (!file.open(&why))
        return couldNotWrite(path + QStringLiteral(" (") + why + u')');
    ExportOutcome out;
    if (format == ExportFormat::Excel) {
        // The workbook library writes to a name: the temporary file's.
        auto writer = MakeXlsxWriter(file.temporaryPath(), dateText);
        out = WriteRows(connection, def, *writer, progress, requireRows);
    } else {
        if (append) {
            QFile original(path);
            if (original.open(QIODevice::ReadOnly)) {
                while (!original.atEnd()) {
                    const QByteArray chunk = original.read(1 << 20);
                    if (file.device()->write(chunk) != chunk.size())
                        return couldNotWrite(file.device()->errorString());
                }
            }
        }
        std::unique_ptr<ReportWriter> writer = MakeStreamWriter(format, file.device(), dateText, append);
        out = WriteRows(connection, def, *writer, progress, requireRows);
    }
    if (!out.ok)
        return out;  // the old file stays as it was
    if (!file.commit(&why))
        return couldNotWrite(path + QStringLiteral(" (") + why + u')');
    return out;
}

QString EnsureExtension(const QString& path, const QString& extension) {
    if (path.trimmed().isEmpty())
        return QString();
    const qsizetype dot = path.lastIndexOf(u'.');
    const QString after = dot < 0 ? path : path.mid(dot + 1);
    if (after.isEmpty())
        return path + u'.' + extension;
    return path;
}

}  // namespace tlm
