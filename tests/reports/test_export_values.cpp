// A date, money, a flag and a NULL as each export format writes them into its file, read back from
// the file itself, on every engine.
#include <gtest/gtest.h>

#include <QFile>
#include <QImage>
#include <QLocale>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QTextDocument>
#include <QXmlStreamReader>
#include <cmath>
#include <optional>

#include "core/money.h"
#include "database/db_fixture.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_pdf.h"
#include "reports/report_render.h"
#include "reports/report_request.h"
#include "settings/global_settings.h"
#include "support/test_env.h"

namespace tlm {
namespace {

QDateTime At(int y, int mo, int d, int h = 0, int mi = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi));
}

QString DateText(const QDateTime& dt) {
    return dt.toString(QStringLiteral("M/d/yyyy h:mm"));
}

QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// One member of a zip file, read by python's zipfile (python3 is a build dependency).
QByteArray ZipMember(const QString& zip, const QString& member) {
    QProcess py;
    py.start(QStringLiteral("python3"),
             {QStringLiteral("-c"),
              QStringLiteral("import sys, zipfile\n"
                             "sys.stdout.buffer.write(zipfile.ZipFile(sys.argv[1]).read(sys.argv[2]))\n"),
              zip, member});
    if (!py.waitForFinished(60000) || py.exitCode() != 0)
        return QByteArray();
    return py.readAllStandardOutput();
}

const QStringList kFields{QStringLiteral("Subject"), QStringLiteral("Start Date"),
                          QStringLiteral("Total Cost"), QStringLiteral("All Day Event"),
                          QStringLiteral("End Date")};

// Each row's cells as text; the NULL End Date of the first row is an empty cell.
struct ExpectedRow {
    QStringList cells;
    QDateTime start;
    Money cost;
    int flag;
    std::optional<QDateTime> end;
};

class ExportValues : public test::EngineTest {
  protected:
    void SetUp() override {
        if (GetParam() == Engine::PostgreSQL && test::PostgresConnectionString().isEmpty())
            GTEST_FAIL() << test::MissingServerText("PostgreSQL case: TLM_TEST_PG");
        EngineTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        OpenFreshDatabase();
        fields.LoadFieldsToDictionaries(gs, QString(), QString());
        for (const ExpectedRow& r : rows)
            Exec(QStringLiteral(
                     "INSERT INTO tReportedAppointments (Subject, ReportedDate, StartDate, TotalCost, "
                     "AllDayEvent, EndDate) VALUES (?, ?, ?, ?, ?, ?)"),
                 {r.cells[0], r.start,
                  r.start.time() == QTime(0, 0) ? QVariant(r.start.date()) : QVariant(r.start),
                  QVariant::fromValue(r.cost), r.flag != 0, r.end ? QVariant(*r.end) : QVariant()});
        ReportChoices choices;
        choices.typeIndex = 1;
        choices.period = QStringLiteral("This Week");
        choices.ticked = kFields;
        ReportContext context;
        context.dbChoice = IsSqlite() ? 0 : 1;
        context.userName = QStringLiteral("ann");
        context.now = At(2026, 3, 4, 12, 0);
        report = PrepareReport(fields, choices, context);
    }
    void TearDown() override {
        QLocale::setDefault(QLocale::c());
        EngineTest::TearDown();
    }
    QString Export(ExportFormat format, const QString& name) {
        const QString path = dir + u'/' + name;
        const ExportOutcome out =
            ExportReport(CurrentConnection(), report.def, format, path, false, DateText);
        EXPECT_TRUE(out.ok) << out.failure.description.toStdString();
        EXPECT_EQ(out.rows, 2);
        return path;
    }

    const std::vector<ExpectedRow> rows{
        {{"Review", "3/4/2026 9:30", "-1234.5", "1", ""}, At(2026, 3, 4, 9, 30), test::M("-1234.5"), 1, {}},
        {{"Audit", "3/5/2026 0:00", "12345678901.2345", "0", "3/6/2026 17:15"},
         At(2026, 3, 5),
         test::M("12345678901.2345"),
         0,
         At(2026, 3, 6, 17, 15)},
    };
    cGeneralSettings gs;
    cReportFields fields;
    PreparedReport report;
};

TEST_P(ExportValues, TextFileCells) {
    const QStringList lines = QString::fromUtf8(ReadAll(Export(ExportFormat::Text, "r.txt"))).split("\r\n");
    ASSERT_GE(lines.size(), 4);
    EXPECT_EQ(lines[0].split(u'\t'), kFields);
    for (const ExpectedRow& r : rows)
        EXPECT_TRUE(lines.contains(r.cells.join(u'\t'))) << r.cells.join(u'|').toStdString();
}

TEST_P(ExportValues, HtmlFileCells) {
    const QString page = QString::fromUtf8(ReadAll(Export(ExportFormat::Html, "r.htm")));
    for (const ExpectedRow& r : rows) {
        QString line = QStringLiteral("<tr>");
        for (const QString& c : r.cells)
            line += QStringLiteral("<td>") + c + QStringLiteral("</td>");
        EXPECT_TRUE(page.contains(line + QStringLiteral("</tr>\r\n"))) << line.toStdString();
    }
}

TEST_P(ExportValues, XmlFileElements) {
    QXmlStreamReader xml(ReadAll(Export(ExportFormat::Xml, "r.xml")));
    QList<QStringList> sheets;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != u"TimeSheet")
            continue;
        QStringList cells;
        QStringList names;
        while (xml.readNextStartElement()) {
            names.append(xml.name().toString());
            cells.append(xml.readElementText());
        }
        EXPECT_EQ(names, (QStringList{"Subject", "StartDate", "TotalCost", "AllDayEvent", "EndDate"}));
        sheets.append(cells);
    }
    ASSERT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    ASSERT_EQ(sheets.size(), 3);  // two rows and the summary
    EXPECT_EQ(sheets[0], rows[0].cells);
    EXPECT_EQ(sheets[1], rows[1].cells);
}

// One cell of the sheet as the workbook holds it.
struct SheetCell {
    QString type;  // the t attribute: "inlineStr", "s", "str" or empty for a number
    QString value;
    int style = 0;
};

TEST_P(ExportValues, WorkbookCells) {
    const QString path = Export(ExportFormat::Excel, "r.xlsx");
    QMap<QString, SheetCell> cells;
    QXmlStreamReader sheet(ZipMember(path, QStringLiteral("xl/worksheets/sheet1.xml")));
    while (!sheet.atEnd()) {
        if (sheet.readNext() != QXmlStreamReader::StartElement || sheet.name() != u"c")
            continue;
        SheetCell c;
        const QString ref = sheet.attributes().value(QLatin1StringView("r")).toString();
        c.type = sheet.attributes().value(QLatin1StringView("t")).toString();
        c.style = sheet.attributes().value(QLatin1StringView("s")).toInt();
        while (sheet.readNextStartElement()) {
            if (sheet.name() == u"v")
                c.value = sheet.readElementText();
            else if (sheet.name() == u"is")
                c.value = sheet.readElementText(QXmlStreamReader::IncludeChildElements);
            else
                sheet.skipCurrentElement();
        }
        cells.insert(ref, c);
    }
    ASSERT_FALSE(sheet.hasError()) << sheet.errorString().toStdString();
    ASSERT_FALSE(cells.isEmpty());
    QStringList shared;
    QXmlStreamReader strings(ZipMember(path, QStringLiteral("xl/sharedStrings.xml")));
    while (!strings.atEnd())
        if (strings.readNext() == QXmlStreamReader::StartElement && strings.name() == u"si")
            shared.append(strings.readElementText(QXmlStreamReader::IncludeChildElements));
    // The number format of each style index, so a date is known to show as a date.
    QMap<int, QString> formatCodes;
    QList<int> styleFormats;
    QXmlStreamReader styles(ZipMember(path, QStringLiteral("xl/styles.xml")));
    bool inCellXfs = false;
    while (!styles.atEnd()) {
        const auto token = styles.readNext();
        if (token == QXmlStreamReader::EndElement && styles.name() == u"cellXfs")
            inCellXfs = false;
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (styles.name() == u"numFmt")
            formatCodes.insert(styles.attributes().value(QLatin1StringView("numFmtId")).toInt(),
                               styles.attributes().value(QLatin1StringView("formatCode")).toString());
        else if (styles.name() == u"cellXfs")
            inCellXfs = true;
        else if (inCellXfs && styles.name() == u"xf")
            styleFormats.append(styles.attributes().value(QLatin1StringView("numFmtId")).toInt());
    }
    const auto text = [&](const QString& ref) {
        const SheetCell c = cells.value(ref);
        return c.type == u"s" ? shared.value(c.value.toInt()) : c.value;
    };
    const auto format = [&](const QString& ref) {
        return formatCodes.value(styleFormats.value(cells.value(ref).style, -1));
    };
    // Excel's day numbers count from 1899-12-30, the day zero of the program's dates too.
    const auto serial = [](const QDateTime& dt) {
        return double(QDate(1899, 12, 30).daysTo(dt.date())) + dt.time().msecsSinceStartOfDay() / 86400000.0;
    };
    EXPECT_EQ(text(QStringLiteral("A1")), QStringLiteral("Subject"));
    for (int i = 0; i < int(rows.size()); ++i) {
        const ExpectedRow& r = rows[size_t(i)];
        const QString n = QString::number(i + 2);
        SCOPED_TRACE(r.cells[0].toStdString());
        EXPECT_EQ(text(u'A' + n), r.cells[0]);
        EXPECT_TRUE(cells.value(u'B' + n).type.isEmpty());
        EXPECT_NEAR(cells.value(u'B' + n).value.toDouble(), serial(r.start), 1e-9);
        EXPECT_EQ(format(u'B' + n), r.start.time() == QTime(0, 0) ? QStringLiteral("m/d/yyyy")
                                                                  : QStringLiteral("m/d/yyyy h:mm:ss"));
        EXPECT_TRUE(cells.value(u'C' + n).type.isEmpty());
        EXPECT_EQ(cells.value(u'C' + n).value.toDouble(), r.cost.toDouble());
        EXPECT_EQ(format(u'C' + n), QStringLiteral("#,##0.00"));
        EXPECT_EQ(cells.value(u'D' + n).value, QString::number(r.flag));
        if (r.end)
            EXPECT_NEAR(cells.value(u'E' + n).value.toDouble(), serial(*r.end), 1e-9);
        else
            EXPECT_FALSE(cells.contains(u'E' + n)) << "a NULL writes no cell";
    }
    // The total, handed over as the page shows it ("12,345,677,666.73"), is a number the sheet can
    // add up, shown as the amounts above it are.
    const QString total = u'C' + QString::number(int(rows.size()) + 2);
    EXPECT_TRUE(cells.value(total).type.isEmpty()) << text(total).toStdString();
    EXPECT_DOUBLE_EQ(cells.value(total).value.toDouble(), 12345677666.73);
    EXPECT_EQ(format(total), QStringLiteral("#,##0.00"));
}

TEST_P(ExportValues, PdfPageCells) {
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    ASSERT_FALSE(pdftotext.isEmpty()) << "pdftotext (poppler-utils, scripts/install-deps.sh) is needed";
    const ReportRun run = RunReport(CurrentConnection(), report.def);
    ASSERT_TRUE(run.ok) << run.failure.description.toStdString();
    const QString page =
        ComposeReportPage(report, QStringLiteral("ann"), QStringLiteral("3/4/2026 12:00"), false,
                          ReportSectionHtml(report.def, run, report.header, DateText));
    auto document = ReportPageDocument(page, QImage());
    const QString path = dir + QStringLiteral("/r.pdf");
    QString error;
    ASSERT_TRUE(PrintDocumentToPdf(*document, path, &error)) << error.toStdString();
    QProcess extract;
    extract.start(pdftotext, {QStringLiteral("-layout"), path, QStringLiteral("-")});
    ASSERT_TRUE(extract.waitForFinished(60000));
    ASSERT_EQ(extract.exitCode(), 0) << extract.readAllStandardError().toStdString();
    const QStringList lines = QString::fromUtf8(extract.readAllStandardOutput()).split(u'\n');
    // A table row is one line of the laid-out text, its cells apart by blanks (a number is set to
    // the right, so the gap before the next cell may be a single blank); a NULL leaves no text.
    for (const ExpectedRow& r : rows) {
        QStringList shown = r.cells;
        shown.removeAll(QString());
        bool found = false;
        for (const QString& line : lines)
            found = found || line.simplified() == shown.join(u' ');
        EXPECT_TRUE(found) << shown.join(u'|').toStdString() << "\n" << lines.join(u'\n').toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ExportValues, ::testing::Values(Engine::SQLite, Engine::PostgreSQL),
                         test::EngineName);

}  // namespace
}  // namespace tlm
