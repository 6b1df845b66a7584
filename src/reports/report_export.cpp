#include "reports/report_export.h"

#include <xlsxwriter.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QXmlStreamWriter>

#include <QHash>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>

#include "core/file_services.h"
#include "core/money.h"
#include "database/connection.h"
#include "database/cursor.h"

namespace tlm {

std::unique_ptr<ReportWriter> MakeStreamWriter(ExportFormat format, QIODevice* device,
                                               const DateTextFn& dateText, bool append);

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

// A writer that takes its cells straight from the cursor, without a QVariant per cell.
class CursorRowWriter {
  public:
    virtual ~CursorRowWriter() = default;
    // The cells at the positions (-1: an empty cell) of the cursor's current row.
    virtual bool RowFrom(const Cursor& cursor, const std::vector<int>& positions) = 0;
};

constexpr qsizetype kTextBlock = 1 << 20;
// Distinct dates remembered as text; past that the memory starts over.
constexpr qsizetype kDateTexts = 1 << 16;

bool NeedsQualifier(const char* s, qsizetype n) {
    for (qsizetype i = 0; i < n; ++i)
        if (s[i] == '\t' || s[i] == '\r' || s[i] == '\n')
            return true;
    return false;
}

void AppendNumber(std::string& out, qint64 v) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, v).ptr;
    out.append(digits, end - digits);
}

// Money::toPlainString's text, appended without a QString: "67.5", "8.4375", "12", "-0.0001".
void AppendMoneyPlain(std::string& out, qint64 units) {
    const bool neg = units < 0;
    const quint64 mag = neg ? 0ULL - quint64(units) : quint64(units);
    if (neg)
        out.push_back('-');
    char digits[24];
    auto end = std::to_chars(digits, digits + sizeof digits, mag / quint64(Money::kScale)).ptr;
    out.append(digits, end - digits);
    quint64 frac = mag % quint64(Money::kScale);
    if (frac == 0)
        return;
    int places = 4;
    while (frac % 10 == 0) {
        frac /= 10;
        --places;
    }
    char fraction[5] = {'.', '0', '0', '0', '0'};
    for (int i = places; i > 0; --i, frac /= 10)
        fraction[i] = char('0' + frac % 10);
    out.append(fraction, places + 1);
}

// Tab-separated lines as UTF-8 in a byte buffer, handed to the device in blocks of about 1 MB.
class TextWriter : public ReportWriter, public CursorRowWriter {
  public:
    TextWriter(QIODevice* device, DateTextFn dateText) : device_(device), dateText_(std::move(dateText)) {
        buffer_.reserve(size_t(kTextBlock + (1 << 16)));
    }
    bool Begin(const QStringList& headings) override { return Line(headings); }
    bool Row(const QVariantList& cells) override {
        for (qsizetype i = 0; i < cells.size(); ++i) {
            if (i > 0)
                buffer_.push_back('\t');
            AppendCell(CellText(cells[i], dateText_).toUtf8());
        }
        return EndLine();
    }
    bool RowFrom(const Cursor& cursor, const std::vector<int>& positions) override {
        for (size_t i = 0; i < positions.size(); ++i) {
            if (i > 0)
                buffer_.push_back('\t');
            if (positions[i] < 0)
                continue;
            const StoredCell cell = cursor.Cell(positions[i]);
            switch (cell.form) {
                case StoredCell::Form::Null:
                    break;
                case StoredCell::Form::Int:
                    AppendNumber(buffer_, cell.number);
                    break;
                case StoredCell::Form::Money:
                    AppendMoneyPlain(buffer_, cell.number);
                    break;
                case StoredCell::Form::DateTime: {
                    const QByteArray& date = DateText(cell.number);
                    buffer_.append(date.constData(), size_t(date.size()));
                    break;
                }
                case StoredCell::Form::Utf8:
                    AppendCell(cell.utf8, cell.size);
                    break;
                case StoredCell::Form::Variant:
                    AppendCell(CellText(cell.variant, dateText_).toUtf8());
                    break;
            }
        }
        return EndLine();
    }
    bool Summary(const QStringList& cells) override { return Line(cells); }
    bool Finish() override {
        if (!Flush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }

  private:
    // A cell holding a tab or a line break goes between cell delimiters.
    void AppendCell(const char* s, qsizetype n) {
        const bool qualify = NeedsQualifier(s, n);
        if (qualify)
            buffer_.append("\r\n", 2);
        buffer_.append(s, size_t(n));
        if (qualify)
            buffer_.append("\r\n", 2);
    }
    void AppendCell(const QByteArray& s) { AppendCell(s.constData(), s.size()); }
    // The date as the caller's function writes it, qualified as a cell; each distinct date once.
    const QByteArray& DateText(qint64 key) {
        auto it = dates_.constFind(key);
        if (it != dates_.constEnd())
            return *it;
        if (dates_.size() >= kDateTexts)
            dates_.clear();
        const QDateTime dt = UnpackDateTime(key);
        const QByteArray text = CellText(QVariant(dt), dateText_).toUtf8();
        QByteArray cell;
        if (NeedsQualifier(text.constData(), text.size()))
            cell = QByteArrayLiteral("\r\n") + text + QByteArrayLiteral("\r\n");
        else
            cell = text;
        return *dates_.insert(key, cell);
    }
    bool Line(const QStringList& cells) {
        for (qsizetype i = 0; i < cells.size(); ++i) {
            if (i > 0)
                buffer_.push_back('\t');
            AppendCell(cells[i].toUtf8());
        }
        return EndLine();
    }
    bool EndLine() {
        buffer_.append("\r\n", 2);
        if (qsizetype(buffer_.size()) >= kTextBlock && !Flush()) {
            error = WriteFailure(device_);
            return false;
        }
        return true;
    }
    bool Flush() {
        const bool ok = buffer_.empty() ||
                        device_->write(buffer_.data(), qint64(buffer_.size())) == qint64(buffer_.size());
        buffer_.clear();  // keeps the reserved block
        return ok;
    }
    QIODevice* device_;
    DateTextFn dateText_;
    std::string buffer_;
    QHash<qint64, QByteArray> dates_;
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
            moneyFormat_ = workbook_add_format(workbook_);
            format_set_num_format(moneyFormat_, kMoneyFormat);
            moneyTotalFormat_ = workbook_add_format(workbook_);
            format_set_num_format(moneyTotalFormat_, kMoneyFormat);
            format_set_bold(moneyTotalFormat_);
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
                worksheet_write_number(sheet_, row_, col, v.value<Money>().toDouble(), moneyFormat_);
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
        for (qsizetype i = 0; i < cells.size(); ++i) {
            if (cells[i].isEmpty())
                continue;
            // The totals come as the page shows them; the sheet keeps them as numbers it can add up.
            const std::optional<double> total = TotalOf(cells[i]);
            const bool amount = size_t(i) < money.size() && money[size_t(i)];
            if (total)
                worksheet_write_number(sheet_, row_, lxw_col_t(i), *total,
                                       amount ? moneyTotalFormat_ : boldFormat_);
            else
                Put(lxw_col_t(i), cells[i], boldFormat_);
        }
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
    // Two decimals with thousands grouped, in the reader's own separators.
    static constexpr const char* kMoneyFormat = "#,##0.00";

    // A total's text in this process's locale (as the summary wrote it), or in the C locale.
    static std::optional<double> TotalOf(const QString& text) {
        bool ok = false;
        double value = QLocale().toDouble(text, &ok);
        if (!ok)
            value = QLocale::c().toDouble(text, &ok);
        return ok ? std::optional<double>(value) : std::nullopt;
    }
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
    lxw_format* moneyFormat_ = nullptr;
    lxw_format* moneyTotalFormat_ = nullptr;
    lxw_row_t row_ = 0;
};

// Per export column, whether it holds amounts.
std::vector<bool> MoneyColumns(const ReportDefinition& def) {
    std::vector<bool> money;
    for (const ReportColumn& c : def.exports)
        money.push_back(c.column == u"TotalCost" || c.column == u"Field9Value" ||
                        c.column == u"Field10Value");
    return money;
}

Failure ExportFailure(const QString& text) {
    return Failure{errnum::kUnspecified, text, 0, QStringLiteral("fReports.ExportToFile")};
}

// Streams the rows of the report into the writer.
ExportOutcome WriteRows(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                        ReportWriter& writer, const std::function<bool(qint64)>& progress, bool requireRows) {
    ExportOutcome out;
    Cursor cursor(std::move(connection));
    // Only what the file shows and what the summary may sum is read.
    QStringList read;
    for (const ReportColumn& c : def.exports)
        read.append(c.column);
    for (const char* summed :
         {"TotalCost", "ActualWork", "TotalWork", "Field9Value", "Field10Value", "Duration"})
        read.append(QString::fromLatin1(summed));
    if (!cursor.Open(def.sql, read)) {
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
    writer.money = MoneyColumns(def);
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
    auto* direct = dynamic_cast<CursorRowWriter*>(&writer);
    QVariantList cells;
    while (cursor.Next()) {
        if (!begun && !begin())
            return out;
        bool written = false;
        if (direct) {
            written = direct->RowFrom(cursor, pos);
        } else {
            cells.clear();
            for (int p : pos)
                cells.append(p >= 0 ? cursor.Value(p) : QVariant());
            written = writer.Row(cells);
        }
        summary.Add(cursor);
        if (!written) {
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

// The file of an export, written whole under a temporary name and put in place only when complete.
ExportOutcome WriteToFile(const QString& path, ExportFormat format, bool append, const DateTextFn& dateText,
                          const std::function<ExportOutcome(ReportWriter&)>& write) {
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
        out = write(*writer);
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
        out = write(*writer);
    }
    if (!out.ok)
        return out;  // the old file stays as it was
    if (!file.commit(&why))
        return couldNotWrite(path + QStringLiteral(" (") + why + u')');
    return out;
}

// Writes the rows a report kept when it was generated.
ExportOutcome WriteStoredRows(const ReportRun& run, const ReportDefinition& def, ReportWriter& writer,
                              const std::function<bool(qint64)>& progress) {
    ExportOutcome out;
    QStringList headings;
    std::vector<int> at;
    for (const ReportColumn& c : def.exports) {
        headings.append(c.display);
        at.push_back(run.rows ? run.rows->ColumnOf(c.column) : -1);
    }
    writer.money = MoneyColumns(def);
    if (!writer.Begin(headings)) {
        out.failure = ExportFailure(writer.error);
        return out;
    }
    const qint64 count = run.rows ? run.rows->Count() : 0;
    QVariantList cells;
    std::optional<ReportRows::Reader> reader;
    if (run.rows)
        reader.emplace(*run.rows);
    for (qint64 r = 0; r < count; ++r) {
        cells.clear();
        for (int a : at)
            cells.append(a >= 0 ? reader->At(r, a) : QVariant());
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
    QStringList last;
    for (const ReportColumn& c : def.exports)
        last.append(run.totals.Value(c.column));
    if (!writer.Summary(last) || !writer.Finish()) {
        out.failure = ExportFailure(writer.error);
        return out;
    }
    out.ok = true;
    return out;
}

// Folds one value into the fingerprint in a form that does not depend on how it is shown.
void AddToFingerprint(QCryptographicHash& hash, const QVariant& v) {
    QString text;
    if (!v.isValid() || v.isNull())
        text = QStringLiteral("\x01");
    else if (v.typeId() == QMetaType::QDateTime)
        text = QString::number(v.toDateTime().toMSecsSinceEpoch());
    else
        text = CellText(v, {});
    hash.addData(QByteArrayView(reinterpret_cast<const char*>(text.utf16()), text.size() * 2));
    hash.addData(QByteArrayView("\x1f", 1));
}

}  // namespace

QByteArray ReportFingerprint(const ReportRun& run) {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    if (run.rows) {
        const int columns = int(run.rows->Columns().size());
        ReportRows::Reader reader(*run.rows);
        for (qint64 r = 0; r < run.rows->Count(); ++r)
            for (int c = 0; c < columns; ++c)
                AddToFingerprint(hash, reader.At(r, c));
    }
    return QByteArray::number(run.rowCount) + ':' + hash.result().toHex();
}

ReportCheck CheckReportCurrent(std::shared_ptr<Connection> connection, const ReportDefinition& def,
                               const ReportRun& run) {
    ReportCheck check;
    Cursor cursor(std::move(connection));
    if (!cursor.Open(def.sql)) {
        check.failure = cursor.LastError();
        return check;
    }
    std::vector<int> pos;
    if (run.rows)
        for (const QString& c : run.rows->Columns())
            pos.push_back(cursor.FieldIndex(c));
    QCryptographicHash hash(QCryptographicHash::Sha1);
    while (cursor.Next()) {
        ++check.rowsNow;
        for (int p : pos)
            AddToFingerprint(hash, p >= 0 ? cursor.Value(p) : QVariant());
    }
    if (cursor.LastError().isSet()) {
        check.failure = cursor.LastError();
        return check;
    }
    check.read = true;
    check.changed = QByteArray::number(check.rowsNow) + ':' + hash.result().toHex() != ReportFingerprint(run);
    return check;
}

QString ReportChangedText(const ReportCheck& check, qint64 generatedRows) {
    return QStringLiteral(
               "The data changed since the report was generated: the report has %1 rows, the database "
               "now gives %2. The file holds the report as it was generated; generate the report again "
               "for the current data.")
        .arg(generatedRows)
        .arg(check.rowsNow);
}

ExportOutcome ExportGeneratedReport(const ReportRun& run, const ReportDefinition& def, ExportFormat format,
                                    const QString& path, bool append, const DateTextFn& dateText,
                                    const std::function<bool(qint64)>& progress) {
    return WriteToFile(path, format, append, dateText,
                       [&](ReportWriter& writer) { return WriteStoredRows(run, def, writer, progress); });
}

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

std::unique_ptr<ReportWriter> MakeStreamWriter(ExportFormat format, QIODevice* device,
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
    return WriteToFile(path, format, append, dateText, [&](ReportWriter& writer) {
        return WriteRows(connection, def, writer, progress, requireRows);
    });
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
