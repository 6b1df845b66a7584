#include "app/command_tools.h"

#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTextDocument>
#include <cstdio>
#include <memory>

#include "app/demo_data.h"
#include "app/outbox_tool.h"
#include "app/remind_tool.h"
#include "app/tool_output.h"
#include "core/codecs.h"
#include "core/error_report.h"
#include "core/process_state.h"
#include "core/startup.h"
#include "core/version.h"
#include "database/connection.h"
#include "desktop/ui_settings.h"
#include "domain/shared_lists.h"
#include "mail/mail_message.h"
#include "mail/mail_profile.h"
#include "mail/outbox.h"
#include "reports/report_chart_form.h"
#include "reports/report_export.h"
#include "reports/report_fields.h"
#include "reports/report_pdf.h"
#include "reports/report_presets.h"
#include "reports/report_request.h"
#include "review/review_queue.h"
#include "settings/session.h"

namespace tlm {

namespace {

QString UsageError(QString error, const QString& tool) {
    if (error.endsWith(u'.'))
        error.chop(1);
    return error + QStringLiteral(" (see tlm-manager ") + tool + QStringLiteral(" --help)");
}

// "--name value" or "--name=value"; advances i past the value.
bool TakeValue(const QStringList& args, int& i, const QString& name, QString* value, QString* error) {
    const QString& a = args[i];
    if (a.startsWith(name + u'=')) {
        *value = a.mid(name.size() + 1);
        return true;
    }
    if (i + 1 >= args.size()) {
        *error = name + QStringLiteral(" needs a value.");
        return false;
    }
    *value = args[++i];
    return true;
}

bool IsOption(const QString& arg, const QString& name) {
    return arg == name || arg.startsWith(name + u'=');
}

bool ParseDay(const QString& text, QDate* day) {
    *day = QDate::fromString(text, QStringLiteral("yyyy-M-d"));
    return day->isValid();
}

// Rows done and the rate, on one line of standard error, only when it is a terminal.
class ProgressLine {
  public:
    ProgressLine() : shown_(isatty(STDERR_FILENO) == 1) { clock_.start(); }
    ~ProgressLine() { Done(); }
    bool Tick(qint64 rows) {
        if (!shown_ || clock_.elapsed() - last_ < 250)
            return true;
        last_ = clock_.elapsed();
        const double seconds = std::max<qint64>(1, clock_.elapsed()) / 1000.0;
        Print(stderr, QStringLiteral("\r%1 rows, %2 rows/s   ").arg(rows).arg(qint64(rows / seconds)));
        std::fflush(stderr);
        printed_ = true;
        return true;
    }
    void Done() {
        if (printed_)
            Print(stderr, QStringLiteral("\n"));
        printed_ = false;
    }

  private:
    bool shown_;
    bool printed_ = false;
    qint64 last_ = 0;
    QElapsedTimer clock_;
};

// Why the session did not open, as a tool says it; every kind ends with kExitNoDatabase.
int FailOpen(const SessionOutcome& opened) {
    using Kind = SessionOutcome::Kind;
    QString text;
    switch (opened.kind) {
        case Kind::Opened:
            return kExitNormal;
        case Kind::NotConfigured:
            text = QStringLiteral(
                "the database is not configured (run \"tlm-manager 14\" or \"make run\" once "
                "to choose one).");
            break;
        case Kind::NoServerConnection:
            text = QStringLiteral("the database is not configured: the server connection is empty.");
            break;
        case Kind::FileMissing:
            text = QStringLiteral("the database file ") + opened.where + QStringLiteral(" does not exist.");
            break;
        case Kind::FileUnreadable:
            text = QStringLiteral("the database file ") + opened.where +
                   QStringLiteral(" could not be opened: ") + MaskSecrets(opened.failure.description);
            break;
        case Kind::ServerUnreachable:
            text = QStringLiteral("the database server could not be reached: ") +
                   MaskSecrets(opened.failure.description);
            break;
        case Kind::NotLoaded:
            text = QStringLiteral("the settings could not be loaded from the database ") +
                   MaskSecrets(opened.where) + u'.';
            break;
    }
    return Fail(kExitNoDatabase, text);
}

QString DateText(const QDateTime& value) {
    return DateTimeToText(value);
}

// How long a report's mail may take to go out before the tool ends and leaves it in the outbox.
constexpr int kReportMailWaitMs = 60000;

ExportFormat FormatOf(const QString& name) {
    if (name == u"xlsx")
        return ExportFormat::Excel;
    if (name == u"html")
        return ExportFormat::Html;
    if (name == u"xml")
        return ExportFormat::Xml;
    return ExportFormat::Text;
}

int FailChoice(const ReportChoicesOutcome& chosen) {
    using Kind = ReportChoicesOutcome::Kind;
    const QString offered = chosen.offered.join(QStringLiteral(", "));
    switch (chosen.kind) {
        case Kind::Chosen:
            return kExitNormal;
        case Kind::UnknownPeriod:
            return Fail(kExitUsage, QStringLiteral("unknown period \"") + chosen.name +
                                        QStringLiteral("\"; the periods are: ") + offered);
        case Kind::UnknownProject:
            return Fail(kExitUsage,
                        QStringLiteral("no project named \"") + chosen.name + QStringLiteral("\"."));
        case Kind::UnknownMember:
            return Fail(kExitUsage,
                        QStringLiteral("no member named \"") + chosen.name + QStringLiteral("\"."));
        case Kind::UnknownField:
            return Fail(kExitUsage, QStringLiteral("unknown field \"") + chosen.name +
                                        QStringLiteral("\"; the fields of this type are: ") + offered);
        case Kind::NoFields:
            return Fail(kExitUsage, QStringLiteral("no fields chosen: give --fields, or tick them in the "
                                                   "reports screen (the ID field alone makes no report)."));
    }
    return kExitUsage;
}

// The report's outcome as the tool ends: the code comes from the kind alone.
// queryLead: the words before the engine's when the query failed.
int ReportEnd(const ReportOutcome& outcome, const QString& queryLead) {
    using Kind = ReportOutcome::Kind;
    switch (outcome.kind) {
        case Kind::Written:
            return kExitNormal;
        case Kind::NothingToExport:
            return Fail(kExitNothingToDo, QStringLiteral("There is no data to be exported!"));
        case Kind::QueryFailed:
            return Fail(kExitStatementFailed, queryLead + MaskSecrets(outcome.failure.description));
        case Kind::WriteFailed:
            return Fail(kExitWriteFailed, MaskSecrets(outcome.failure.description));
        case Kind::Cancelled:
            return Fail(kExitWriteFailed, QStringLiteral("the report was stopped; no file was written."));
    }
    return kExitWriteFailed;
}

// The page with its chart, printed to a PDF file.
ReportOutcome WritePdf(const PreparedReport& prepared, const ReportOptions& o, const QDateTime& now,
                       ProgressLine& progress) {
    const ReportRun run = RunReport(CurrentConnection(), prepared.def,
                                    [&progress](qint64 rows) { return progress.Tick(rows); });
    progress.Done();
    ReportOutcome outcome = ReportOutcomeOf(run);
    if (outcome.kind != ReportOutcome::Kind::Written)
        return outcome;
    const QImage chart = o.chart ? RenderReportChart(run.chart) : QImage();
    const QString page = ComposeReportPage(prepared, sCurrentUser(), DateTimeToText(now), !chart.isNull(),
                                           ReportSectionHtml(prepared.def, run, prepared.header, DateText));
    auto document = ReportPageDocument(page, chart);
    QString error;
    if (!PrintDocumentToPdf(*document, o.out, &error)) {
        outcome.kind = ReportOutcome::Kind::WriteFailed;
        outcome.failure = Failure{errnum::kUnspecified, error, 0, QStringLiteral("report")};
    }
    return outcome;
}

QByteArray MimeTypeOfFormat(const QString& format) {
    if (format == u"xlsx")
        return "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet";
    if (format == u"pdf")
        return "application/pdf";
    if (format == u"html")
        return "text/html";
    if (format == u"xml")
        return "application/xml";
    return "text/plain";
}

// The written file as an attachment, kept in the outbox and handed to the delivery worker, which
// gets a while to send it before the process ends; what is still waiting goes with the next one.
int MailReportFile(Session& session, const ReportOptions& o, const PreparedReport& prepared, qint64 rows) {
    QFile file(o.out);
    if (!file.open(QIODevice::ReadOnly))
        return Fail(kExitMailNotKept,
                    QStringLiteral("the report file could not be read to mail it: ") + file.errorString());
    const QString name = QFileInfo(o.out).fileName();
    MailMessage mail;
    mail.to = o.mailTo;
    mail.subject = prepared.header.isEmpty() ? QStringLiteral("Report") : prepared.header;
    mail.html =
        QStringLiteral("<p>") + prepared.header.toHtmlEscaped() + QStringLiteral("</p><p>") +
        QStringLiteral("The report is attached as %1 (%2 rows).").arg(name.toHtmlEscaped()).arg(rows) +
        QStringLiteral("</p>");
    mail.attachments.append({name, MimeTypeOfFormat(o.format), file.readAll()});
    const MailSendResult kept = session.delivery().queue(mail, LoadMailProfile());
    if (kept.status == MailSendResult::Status::Refused || kept.status == MailSendResult::Status::Lost)
        return Fail(kExitMailNotKept, QStringLiteral("the report was written to ") + o.out +
                                          QStringLiteral(", but its mail could not be kept: ") +
                                          MaskSecrets(kept.reason));
    if (kept.status == MailSendResult::Status::Sent) {
        Print(stdout, QStringLiteral("Mailed %1 to %2.\n").arg(name, o.mailTo));
        return kExitNormal;
    }
    session.delivery().waitIdle(kReportMailWaitMs);
    const UnkeptMails unkept = TakeUnkeptMails();
    if (unkept.count > 0)
        return Fail(
            kExitMailNotKept,
            QStringLiteral("the mail of the report could not be kept in the outbox: ") + unkept.reason);
    const QString failed = FailedFolder(QFileInfo(kept.outboxFile).absolutePath()) + u'/' +
                           QFileInfo(kept.outboxFile).fileName();
    if (QFile::exists(failed))
        return Fail(kExitMailNotKept,
                    QStringLiteral("the mail server refused the mail of the report for good; "
                                   "it is kept in ") +
                        failed + QStringLiteral(" (tlm-manager outbox)."));
    if (QFile::exists(kept.outboxFile)) {
        const OutboxStatus status = session.delivery().status();
        Print(stderr,
              QStringLiteral("tlm-manager: the mail of the report waits in the outbox and goes with the "
                             "next delivery (tlm-manager outbox)") +
                  (status.lastError.isEmpty() ? QString() : QStringLiteral(": ") + status.lastError) + u'\n');
        return kExitNormal;
    }
    Print(stdout, QStringLiteral("Mailed %1 to %2.\n").arg(name, o.mailTo));
    return kExitNormal;
}

int RunReportTool(const ReportOptions& o) {
    Session session;
    const SessionOutcome opened = session.OpenDatabase(DatabaseAccess::ExistingOnly);
    if (!opened.opened())
        return FailOpen(opened);
    cDBSettings& global = session.global();
    cUISettings& ui = *session.ui();
    ui.ReadReportsUIValues();
    cReportFields fields;
    fields.LoadFieldsToDictionaries(global.GeneralSettings, global.ProjectTitle, global.ActivityTitle);

    const QDateTime now = QDateTime::currentDateTime();
    const StoredReportChoices stored{ui.Reports_ReportTypeIndex, ui.Reports_TimePeriodIndex,
                                     ui.Reports_SelectedFieldsList_Tasks,
                                     ui.Reports_SelectedFieldsList_Appointments};
    ReportRequest request = o.request;
    if (!o.preset.isEmpty()) {
        Failure failure;
        const std::vector<ReportPreset> presets = LoadReportPresets(&failure);
        const ReportPreset* preset = FindReportPreset(presets, o.preset);
        if (!preset) {
            QStringList names;
            for (const ReportPreset& p : presets)
                names.append(p.name);
            return Fail(kExitUsage, QStringLiteral("no preset named \"") + o.preset.trimmed() +
                                        (names.isEmpty() ? QStringLiteral("\"; none is saved (the reports "
                                                                          "screen saves them).")
                                                         : QStringLiteral("\"; the presets are: ") +
                                                               names.join(QStringLiteral(", "))));
        }
        request = RequestWithPreset(*preset, o.request);
    }
    const ReportChoicesOutcome chosen = ChooseReport(request, stored, fields, global, now.date());
    if (chosen.kind != ReportChoicesOutcome::Kind::Chosen)
        return FailChoice(chosen);

    ReportContext context;
    context.dbChoice = session.local().DBChoice;
    context.fullView = Process().blnManagerProcess;
    context.userName = sCurrentUser();
    context.now = now;
    context.shortDateFormat = global.ShortDateFormat;
    const PreparedReport prepared = PrepareReport(fields, chosen.choices, context);

    ProgressLine progress;
    if (o.format == u"pdf") {
        const ReportOutcome pdf = WritePdf(prepared, o, now, progress);
        const int code = ReportEnd(pdf, QStringLiteral("the report's query failed: "));
        return code != kExitNormal || o.mailTo.isEmpty() ? code
                                                         : MailReportFile(session, o, prepared, pdf.rows);
    }
    const auto tick = [&progress](qint64 rows) { return progress.Tick(rows); };
    const ExportFormat format = FormatOf(o.format);
    ExportOutcome out;
    if (o.out == u"-") {
        QFile stdoutFile;
        if (!stdoutFile.open(stdout, QIODevice::WriteOnly))
            return Fail(kExitWriteFailed, QStringLiteral("standard output cannot be written."));
        out = ExportReportTo(&stdoutFile, CurrentConnection(), prepared.def, format, DateText, tick, true);
        stdoutFile.close();
    } else {
        out = ExportReport(CurrentConnection(), prepared.def, format, o.out, o.append, DateText, tick, true);
    }
    progress.Done();
    const int code = ReportEnd(ReportOutcomeOf(out), QString());
    return code != kExitNormal || o.mailTo.isEmpty() ? code : MailReportFile(session, o, prepared, out.rows);
}

QString OneLine(QString text) {
    text.replace(u'\t', u' ');
    text.replace(u'\r', u' ');
    text.replace(u'\n', u' ');
    return text;
}

// A review step that did not end in Done: what the screen would have shown, then the tool's line.
int FailReview(const ReviewOutcome& outcome, int code, const QString& text) {
    if (outcome.kind == ReviewOutcome::Kind::NoConnection)
        Print(stderr, kNoConnectionText + u'\n');
    else if (outcome.failure.isSet())
        Print(stderr, BuildReportText(outcome.failure) + u'\n');
    return Fail(code, text);
}

int RunReviewTool(const ReviewOptionsLine& o) {
    Session session;
    const SessionOutcome opened = session.OpenDatabase(DatabaseAccess::ExistingOnly);
    if (!opened.opened())
        return FailOpen(opened);
    const qint32 dbChoice = session.local().DBChoice;
    if (o.list) {
        ReviewFilter filter;
        filter.typesIndex = o.type == u"tasks" ? 0 : o.type == u"appointments" ? 1 : 2;
        const ReviewQueueRead read = ReadReviewQueue(filter, dbChoice);
        if (!read.outcome.done())
            return FailReview(read.outcome, kExitStatementFailed,
                              QStringLiteral("the unapproved items could not be read."));
        const cDBSettings& global = session.global();
        QString text = QStringLiteral("Type\tID\tSubject\t") + global.ProjectTitle + u'\t' +
                       global.ActivityTitle + QStringLiteral("\tCost\tReported Date\tReported By\n");
        for (const ReviewItem& it : read.items)
            text += it.TypeText() + u'\t' + it.ID + u'\t' + OneLine(it.Subject) + u'\t' +
                    OneLine(it.ProjectValue) + u'\t' + OneLine(it.ActivityValue) + u'\t' +
                    it.TotalCost.toPlainString() + u'\t' + DateTimeToText(it.ReportedDate) + u'\t' +
                    OneLine(it.ReportedBy) + u'\n';
        Print(stdout, text);
        return std::fflush(stdout) == 0
                   ? kExitNormal
                   : Fail(kExitWriteFailed, QStringLiteral("standard output cannot be written."));
    }

    const bool approving = o.declineId.isEmpty();
    if (!approving && !DeclineRemovesRows(session.global()))
        return Fail(kExitNothingToDo,
                    QStringLiteral("declining is switched off "
                                   "(tpoAuditRemoveDeclinedDataFromDB is 0); nothing was deleted."));
    const QStringList ids = approving ? o.approveIds : QStringList{o.declineId};
    const ReviewOptions options = ReadReviewOptions(session.global());
    int done = 0;
    for (const QString& id : ids) {
        const QueuedApproval step = approving ? ApproveQueuedItem(id, o.type, dbChoice, options)
                                              : DeclineQueuedItem(id, o.type, dbChoice, o.reason);
        if (step.outcome.done()) {
            Print(stdout, (approving ? QStringLiteral("Approved ") : QStringLiteral("Declined ")) + o.type +
                              u' ' + step.item.ID + QStringLiteral(": ") + OneLine(step.item.Subject) +
                              u'\n');
            ++done;
            continue;
        }
        // The first refusal ends the run; the IDs after it are left as they are.
        if (ids.size() > 1)
            Print(stderr, QStringLiteral("%1 of %2 approved; stopped at %3 %4.\n")
                              .arg(done)
                              .arg(ids.size())
                              .arg(o.type, id));
        switch (step.outcome.kind) {
            case ReviewOutcome::Kind::NotQueued:
                return Fail(kExitNothingToDo, QStringLiteral("no unapproved ") + o.type +
                                                  QStringLiteral(" with ID ") + id + u'.');
            case ReviewOutcome::Kind::ReadFailed:
                return FailReview(step.outcome, kExitStatementFailed,
                                  QStringLiteral("the item could not be read."));
            default:
                return FailReview(step.outcome, kExitStatementFailed,
                                  approving ? QStringLiteral("the approval was refused by the database.")
                                            : QStringLiteral("the decline was refused by the database."));
        }
    }
    return kExitNormal;
}

int RunDemoTool() {
    Session session;
    const SessionOutcome opened =
        session.OpenDatabase(DatabaseAccess::CreateFile, qEnvironmentVariable("TLM_DEFAULT_DATA_DIR"));
    if (!opened.opened())
        return FailOpen(opened);
    ProgressLine progress;
    const DemoOutcome out = FillDemoData(*CurrentConnection(), DemoSpec(QDate::currentDate()),
                                         [&progress](qint64 done, qint64) { return progress.Tick(done); });
    progress.Done();
    if (!out.ok)
        return Fail(kExitStatementFailed, QStringLiteral("the demo data could not be written: ") +
                                              MaskSecrets(out.failure.description));
    if (out.alreadyFilled) {
        Print(stdout,
              QStringLiteral("The database holds projects or reported items already; nothing was added.\n"));
        return kExitNormal;
    }
    Print(stdout, QStringLiteral(
                      "Added %1 projects, %2 activities, %3 members, %4 tasks and %5 appointments to %6.\n")
                      .arg(out.counts.projects)
                      .arg(out.counts.activities)
                      .arg(out.counts.members)
                      .arg(out.counts.tasks)
                      .arg(out.counts.appointments)
                      .arg(MaskSecrets(fncGetDatabaseDisplayName())));
    return kExitNormal;
}

}  // namespace

bool ParseReportOptions(const QStringList& args, ReportOptions* o, QString* error) {
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        QString v;
        if (a == u"--help" || a == u"-h") {
            o->help = true;
        } else if (IsOption(a, QStringLiteral("--type"))) {
            if (!TakeValue(args, i, QStringLiteral("--type"), &v, error))
                return false;
            v = v.toLower();
            if (v == u"tasks" || v == u"task")
                o->request.typeIndex = 0;
            else if (v == u"appointments" || v == u"appointment")
                o->request.typeIndex = 1;
            else
                return *error = QStringLiteral("--type is tasks or appointments, not \"") + v + u'"', false;
        } else if (IsOption(a, QStringLiteral("--period"))) {
            if (!TakeValue(args, i, QStringLiteral("--period"), &o->request.period, error))
                return false;
        } else if (IsOption(a, QStringLiteral("--from")) || IsOption(a, QStringLiteral("--to"))) {
            const bool from = IsOption(a, QStringLiteral("--from"));
            const QString name = from ? QStringLiteral("--from") : QStringLiteral("--to");
            if (!TakeValue(args, i, name, &v, error))
                return false;
            if (!ParseDay(v, from ? &o->request.from : &o->request.to))
                return *error = name + QStringLiteral(" takes a date as YYYY-MM-DD, not \"") + v + u'"',
                       false;
        } else if (IsOption(a, QStringLiteral("--project"))) {
            if (!TakeValue(args, i, QStringLiteral("--project"), &o->request.project, error))
                return false;
        } else if (IsOption(a, QStringLiteral("--member"))) {
            if (!TakeValue(args, i, QStringLiteral("--member"), &o->request.member, error))
                return false;
        } else if (IsOption(a, QStringLiteral("--fields"))) {
            if (!TakeValue(args, i, QStringLiteral("--fields"), &v, error))
                return false;
            QStringList list;
            for (const QString& f : v.split(u','))
                if (!f.trimmed().isEmpty())
                    list.append(f.trimmed());
            if (list.isEmpty())
                return *error = QStringLiteral("--fields names no field."), false;
            o->request.fields = list;
        } else if (IsOption(a, QStringLiteral("--format"))) {
            if (!TakeValue(args, i, QStringLiteral("--format"), &v, error))
                return false;
            o->format = v.toLower();
        } else if (IsOption(a, QStringLiteral("--out")) || a == u"-o") {
            if (a == u"-o") {
                if (i + 1 >= args.size())
                    return *error = QStringLiteral("-o needs a value."), false;
                o->out = args[++i];
            } else if (!TakeValue(args, i, QStringLiteral("--out"), &o->out, error)) {
                return false;
            }
        } else if (a == u"--append") {
            o->append = true;
        } else if (a == u"--no-chart") {
            o->chart = false;
        } else if (IsOption(a, QStringLiteral("--preset"))) {
            if (!TakeValue(args, i, QStringLiteral("--preset"), &o->preset, error))
                return false;
            if (o->preset.trimmed().isEmpty())
                return *error = QStringLiteral("--preset names no preset."), false;
        } else if (IsOption(a, QStringLiteral("--mail-to"))) {
            if (!TakeValue(args, i, QStringLiteral("--mail-to"), &o->mailTo, error))
                return false;
            QList<MailAddress> to;
            QString why;
            if (!ParseMailAddressList(o->mailTo, &to, &why) || to.isEmpty())
                return *error = QStringLiteral("--mail-to: ") +
                                (to.isEmpty() && why.isEmpty() ? QStringLiteral("no address given.") : why),
                       false;
        } else {
            return *error = QStringLiteral("unknown option \"") + a + u'"', false;
        }
    }
    if (o->help)
        return true;
    if (!o->request.project.isEmpty() && !o->request.member.isEmpty())
        return *error = QStringLiteral("--project and --member cannot be combined."), false;
    if (!o->request.period.isEmpty() && (o->request.from.isValid() || o->request.to.isValid()))
        return *error = QStringLiteral("--period cannot be combined with --from/--to."), false;
    if (o->request.from.isValid() && o->request.to.isValid() && o->request.from > o->request.to)
        return *error = QStringLiteral("--from is after --to."), false;
    if (o->out.isEmpty())
        return *error = QStringLiteral("--out FILE is required (\"-\" for standard output)."), false;
    if (o->format.isEmpty()) {
        // Taken from the file's extension when not given.
        const QString ext = o->out == u"-" ? QStringLiteral("txt") : QFileInfo(o->out).suffix().toLower();
        o->format = ext == u"htm" ? QStringLiteral("html") : ext == u"text" ? QStringLiteral("txt") : ext;
    }
    static const QStringList formats = {QStringLiteral("xlsx"), QStringLiteral("txt"), QStringLiteral("html"),
                                        QStringLiteral("xml"), QStringLiteral("pdf")};
    if (!formats.contains(o->format))
        return *error = QStringLiteral("--format is one of xlsx, txt, html, xml, pdf") +
                        (o->format.isEmpty() ? QString() : QStringLiteral(", not \"") + o->format + u'"'),
               false;
    if (o->out == u"-" && (o->format == u"xlsx" || o->format == u"pdf"))
        return *error =
                   QStringLiteral("a ") + o->format + QStringLiteral(" file cannot go to standard output."),
               false;
    if (o->append && o->format != u"txt" && o->format != u"html")
        return *error = QStringLiteral("--append works for txt and html only."), false;
    if (o->append && o->out == u"-")
        return *error = QStringLiteral("--append needs a file."), false;
    if (!o->mailTo.isEmpty() && o->out == u"-")
        return *error = QStringLiteral("--mail-to needs a file to attach."), false;
    return true;
}

bool ParseReviewOptions(const QStringList& args, ReviewOptionsLine* o, QString* error) {
    QString approve;
    bool reasonGiven = false;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == u"--help" || a == u"-h") {
            o->help = true;
        } else if (a == u"--list") {
            o->list = true;
        } else if (IsOption(a, QStringLiteral("--approve"))) {
            if (!TakeValue(args, i, QStringLiteral("--approve"), &approve, error))
                return false;
        } else if (IsOption(a, QStringLiteral("--decline"))) {
            if (!TakeValue(args, i, QStringLiteral("--decline"), &o->declineId, error))
                return false;
        } else if (IsOption(a, QStringLiteral("--reason"))) {
            if (!TakeValue(args, i, QStringLiteral("--reason"), &o->reason, error))
                return false;
            reasonGiven = true;
        } else if (IsOption(a, QStringLiteral("--type"))) {
            if (!TakeValue(args, i, QStringLiteral("--type"), &o->type, error))
                return false;
            o->type = o->type.toLower();
        } else {
            return *error = QStringLiteral("unknown option \"") + a + u'"', false;
        }
    }
    if (o->help)
        return true;
    if (int(o->list) + int(!approve.isEmpty()) + int(!o->declineId.isEmpty()) != 1)
        return *error = QStringLiteral(
                   "give one of --list, --approve ID[,ID...] or --decline ID, with --type "
                   "task|appointment for the last two."),
               false;
    if (reasonGiven && o->declineId.isEmpty())
        return *error = QStringLiteral("--reason goes with --decline."), false;
    if (o->list) {
        if (o->type.isEmpty())
            o->type = QStringLiteral("both");
        if (o->type != u"tasks" && o->type != u"appointments" && o->type != u"both")
            return *error = QStringLiteral("--type with --list is tasks, appointments or both."), false;
        return true;
    }
    // The IDs go into the statements as they are, so only digits pass.
    const auto numeric = [](const QString& id) {
        bool digits = !id.isEmpty() && id.size() <= 18;
        for (const QChar ch : id)
            digits = digits && ch >= u'0' && ch <= u'9';
        return digits;
    };
    const QString option = approve.isEmpty() ? QStringLiteral("--decline") : QStringLiteral("--approve");
    o->approveIds = approve.isEmpty() ? QStringList() : approve.split(u',');
    for (const QString& id : approve.isEmpty() ? QStringList{o->declineId} : o->approveIds)
        if (!numeric(id))
            return *error = option + QStringLiteral(" takes the item's numeric ID, not \"") + id + u'"',
                   false;
    if (o->type != u"task" && o->type != u"appointment")
        return *error = option + QStringLiteral(" needs --type task or --type appointment."), false;
    return true;
}

QString ReportUsageText() {
    return QStringLiteral(
        "Usage: tlm-manager report --out FILE|- [OPTIONS]\n"
        "Writes a summary report as the reports screen (section 21) exports it, without a display.\n\n"
        "  --type tasks|appointments   the item type (default: as last chosen in the screen)\n"
        "  --period NAME               Today, Yesterday, This Week, Last Week, This Month,\n"
        "                              Last Month, This Year, Last Year (default: as last chosen)\n"
        "  --from YYYY-MM-DD --to YYYY-MM-DD   a date range instead of a period\n"
        "  --project NAME | --member NAME      only that project's or member's items\n"
        "  --fields \"A,B,...\"          display names as the screen lists them (default: the\n"
        "                              fields ticked in the screen); listed in the screen's order\n"
        "  --format xlsx|txt|html|xml|pdf      (default: the file's extension; txt for -)\n"
        "  --out FILE                  the file; \"-\" writes txt, html or xml to standard output\n"
        "  --append                    add to an existing txt or html file\n"
        "  --no-chart                  a pdf without the chart\n"
        "  --preset NAME               a preset saved in the reports screen; the options above\n"
        "                              replace the parts of it they name\n"
        "  --mail-to ADDR[;ADDR]       mail the written file as an attachment through the outbox\n\n"
        "Exit codes: 0 written (and mailed or kept in the outbox), 5 bad arguments or an unknown\n"
        "field, project, member or preset, 6 database not configured or not reachable, 7 nothing\n"
        "to export, 8 the file could not be written (no file is left behind), 9 the database\n"
        "refused the query, 10 the file was written but its mail could not be kept in the outbox\n"
        "or the server refused it for good.\n");
}

QString ReviewUsageText() {
    return QStringLiteral(
        "Usage: tlm-manager review --list [--type tasks|appointments|both]\n"
        "       tlm-manager review --approve ID[,ID...] --type task|appointment\n"
        "       tlm-manager review --decline ID --type task|appointment [--reason TEXT]\n"
        "Lists the unapproved items as tab-separated lines, or approves or declines them as the\n"
        "review screen (section 22) does. Several IDs are approved in the order given; the first\n"
        "that fails stops the run, with the count done, and the IDs after it are left as they are.\n"
        "A decline deletes the item and tells its member, with the reason when one is given; it\n"
        "does nothing while declining is switched off (tpoAuditRemoveDeclinedDataFromDB).\n\n"
        "Exit codes: 0 done, 5 bad arguments, 6 database not configured or not reachable,\n"
        "7 no unapproved item with that ID or declining switched off, 8 standard output cannot be\n"
        "written, 9 the database refused the statement.\n");
}

QString DemoUsageText() {
    return QStringLiteral(
        "Usage: tlm-manager demo\n"
        "Fills the configured database with demo data: a dozen projects with managers and their\n"
        "activities, 30 members and a year of reported tasks and appointments, most unapproved.\n"
        "A database that holds projects or reported items already is left as it is.\n\n"
        "Exit codes: 0 done (or nothing to add), 5 bad arguments, 6 database not configured or not\n"
        "reachable, 9 the database refused the rows.\n");
}

int RunTool(const QStringList& arguments, int& argc, char** argv) {
    const QString tool = arguments.value(0);
    const QStringList args = arguments.mid(1);
    QString error;
    ReportOptions report;
    ReviewOptionsLine review;
    if (tool == u"report") {
        if (!ParseReportOptions(args, &report, &error))
            return Fail(kExitUsage, UsageError(error, QStringLiteral("report")));
        if (report.help)
            return Print(stdout, ReportUsageText()), kExitNormal;
    } else if (tool == u"review") {
        if (!ParseReviewOptions(args, &review, &error))
            return Fail(kExitUsage, UsageError(error, QStringLiteral("review")));
        if (review.help)
            return Print(stdout, ReviewUsageText()), kExitNormal;
    } else if (tool == u"outbox") {
        OutboxToolOptions outbox;
        if (!ParseOutboxOptions(args, &outbox, &error))
            return Fail(kExitUsage, UsageError(error, QStringLiteral("outbox")));
        if (outbox.action == OutboxToolOptions::Action::Help)
            return Print(stdout, OutboxUsageText()), kExitNormal;
        QCoreApplication app(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("TLM"));
        QCoreApplication::setOrganizationName(QStringLiteral("Orrinwell"));
        return RunOutboxTool(outbox);
    } else if (tool == u"remind") {
        return RunRemindTool(args, argc, argv);
    } else if (tool == u"demo") {
        if (args == QStringList{QStringLiteral("--help")})
            return Print(stdout, DemoUsageText()), kExitNormal;
        if (!args.isEmpty())
            return Fail(kExitUsage, QStringLiteral("demo takes no options (see tlm-manager demo --help)"));
    } else {
        return Fail(kExitUsage, QStringLiteral("unknown command \"") + tool + u'"');
    }

    PinLocalTimeZone();
    // Only a PDF needs fonts and painting, and then no display: the offscreen platform.
    std::unique_ptr<QCoreApplication> app;
    if (tool == u"report" && report.format == u"pdf") {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("TLM"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orrinwell"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kVersionText));
    if (tool == u"report")
        return RunReportTool(report);
    if (tool == u"review")
        return RunReviewTool(review);
    return RunDemoTool();
}

}  // namespace tlm
