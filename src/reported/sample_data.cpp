#include "reported/sample_data.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <array>
#include <deque>
#include <memory>
#include <random>
#include <vector>

#include "core/money.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "database/recordset.h"

namespace tlm {
namespace {

// mt19937's output is fixed by the standard; its distributions are not, so ours are written here.
// Draws must happen in a fixed order: a << chain runs left to right, a call's arguments do not, so
// no call takes two draws as arguments.
class Random {
  public:
    explicit Random(quint32 seed) : engine_(seed) {}
    // Uniform in [0, n), without the bias of a plain modulo.
    int Below(int n) {
        if (n <= 1)
            return 0;
        const quint32 limit = quint32(0x100000000ULL / quint64(n) * quint64(n) - 1);
        quint32 v;
        do {
            v = quint32(engine_());
        } while (v > limit);
        return int(v % quint32(n));
    }
    bool Chance(int percent) { return Below(100) < percent; }
    template <typename List>
    const auto& Pick(const List& list) {
        return list[Below(int(std::size(list)))];
    }

  private:
    std::mt19937 engine_;
};

struct Member {
    QString name, email, department;
    Money rate;
};
struct Project {
    QString name, manager, code, description;
    Money rate;
    int color = 0;
    QDate start, finish;
    int firstActivity = 0;  // index into the activities
};
struct Activity {
    QString name, coordinator;
    Money rate;
    QDate due;
};
struct Model {
    std::vector<Member> members;
    std::vector<Project> projects;
    std::vector<Activity> activities;
    int activitiesPerProject = 0;
    std::array<QStringList, 4> lists;
};

const QStringList kFirstNames = {
    QStringLiteral("Aoife"),  QStringLiteral("Siobhán"), QStringLiteral("Zoë"),    QStringLiteral("José"),
    QStringLiteral("Björn"),  QStringLiteral("Chloé"),   QStringLiteral("Łukasz"), QStringLiteral("Mette"),
    QStringLiteral("Ingrid"), QStringLiteral("Rafael"),  QStringLiteral("Priya"),  QStringLiteral("Kenji"),
    QStringLiteral("Amara"),  QStringLiteral("Tomás"),   QStringLiteral("Noémie"), QStringLiteral("Oskar"),
    QStringLiteral("Fatima"), QStringLiteral("Liam"),    QStringLiteral("Elena"),  QStringLiteral("Jürgen"),
    QStringLiteral("Hannah"), QStringLiteral("Mateo"),   QStringLiteral("Sofía"),  QStringLiteral("Yusuf"),
    QStringLiteral("Clara"),  QStringLiteral("Dmitri"),  QStringLiteral("Grace"),  QStringLiteral("Pádraig"),
    QStringLiteral("Astrid"), QStringLiteral("Noah")};
const QStringList kApostropheSurnames = {QStringLiteral("O'Brien"), QStringLiteral("D'Arcy"),
                                         QStringLiteral("O'Neill"), QStringLiteral("N'Diaye")};
const QStringList kAccentedFirstNames = {QStringLiteral("Zoë"), QStringLiteral("Siobhán"),
                                         QStringLiteral("Björn"), QStringLiteral("Noémie"),
                                         QStringLiteral("Łukasz")};
const QStringList kAccentedSurnames = {QStringLiteral("Ångström"), QStringLiteral("Müller"),
                                       QStringLiteral("Núñez"), QStringLiteral("Sørensen")};
const QStringList kSurnames = {
    QStringLiteral("O'Brien"),    QStringLiteral("D'Arcy"),    QStringLiteral("O'Neill"),
    QStringLiteral("Ångström"),   QStringLiteral("Müller"),    QStringLiteral("Núñez"),
    QStringLiteral("Kowalczyk"),  QStringLiteral("Sørensen"),  QStringLiteral("Dubois"),
    QStringLiteral("García"),     QStringLiteral("Nakamura"),  QStringLiteral("Okafor"),
    QStringLiteral("Fitzgerald"), QStringLiteral("Lindqvist"), QStringLiteral("Horváth"),
    QStringLiteral("Moreau"),     QStringLiteral("Rossi"),     QStringLiteral("Novák"),
    QStringLiteral("Schäfer"),    QStringLiteral("Walsh"),     QStringLiteral("Petrov"),
    QStringLiteral("Costa"),      QStringLiteral("Bianchi"),   QStringLiteral("Eriksson"),
    QStringLiteral("Haddad"),     QStringLiteral("Jansen"),    QStringLiteral("MacLeod"),
    QStringLiteral("Çelik"),      QStringLiteral("Ferreira"),  QStringLiteral("Brennan")};
const QStringList kDepartments = {QStringLiteral("Engineering"), QStringLiteral("Design"),
                                  QStringLiteral("Finance"),     QStringLiteral("Sales"),
                                  QStringLiteral("Support"),     QStringLiteral("Operations")};
const QStringList kProjectNames = {
    QStringLiteral("Harbour Bridge Survey"),     QStringLiteral("Mill Street Renovation"),
    QStringLiteral("Lakeside School Extension"), QStringLiteral("Café Lumière Fit-out"),
    QStringLiteral("North Ring Road"),           QStringLiteral("Riverside Library"),
    QStringLiteral("Søndre Park Housing"),       QStringLiteral("Airport Cargo Hall"),
    QStringLiteral("City Archive Move"),         QStringLiteral("Hospital Wing C"),
    QStringLiteral("Solar Farm Ödland"),         QStringLiteral("Tram Depot Upgrade"),
    QStringLiteral("Old Brewery Lofts"),         QStringLiteral("Water Works Audit"),
    QStringLiteral("Museum Roof Repair"),        QStringLiteral("Data Centre Cooling"),
    QStringLiteral("Market Hall Façade"),        QStringLiteral("Coastal Path Bridges")};
const QStringList kActivityNames = {
    QStringLiteral("Design"),        QStringLiteral("Site visit"),  QStringLiteral("Client meeting"),
    QStringLiteral("Drafting"),      QStringLiteral("Review"),      QStringLiteral("Testing"),
    QStringLiteral("Documentation"), QStringLiteral("Procurement"), QStringLiteral("Planning"),
    QStringLiteral("Travel"),        QStringLiteral("Training"),    QStringLiteral("Support"),
    QStringLiteral("Überprüfung"),   QStringLiteral("Budgeting")};
const std::array<QStringList, 4> kListValues = {
    QStringList{QStringLiteral("Billable"), QStringLiteral("Non-billable"), QStringLiteral("Internal"),
                QStringLiteral("Warranty"), QStringLiteral("Goodwill"), QStringLiteral("Pre-sales")},
    QStringList{QStringLiteral("Office"), QStringLiteral("Client site"), QStringLiteral("Remote"),
                QStringLiteral("Workshop"), QStringLiteral("Zürich office"), QStringLiteral("Laboratory")},
    QStringList{QStringLiteral("Concept"), QStringLiteral("Design phase"), QStringLiteral("Build"),
                QStringLiteral("Handover"), QStringLiteral("Aftercare"), QStringLiteral("Closure")},
    QStringList{QStringLiteral("CC-100 Delivery"), QStringLiteral("CC-200 Research"),
                QStringLiteral("CC-300 Overhead"), QStringLiteral("CC-400 Training"),
                QStringLiteral("CC-500 Bids"), QStringLiteral("CC-600 Maintenance")}};
const QStringList kVerbs = {QStringLiteral("Prepared"), QStringLiteral("Reviewed"),
                            QStringLiteral("Updated"),  QStringLiteral("Discussed"),
                            QStringLiteral("Drafted"),  QStringLiteral("Checked"),
                            QStringLiteral("Fixed"),    QStringLiteral("Planned"),
                            QStringLiteral("Tested"),   QStringLiteral("Documented")};
const QStringList kObjects = {QStringLiteral("the floor plans"),    QStringLiteral("the site report"),
                              QStringLiteral("the budget sheet"),   QStringLiteral("the client's feedback"),
                              QStringLiteral("the weekly status"),  QStringLiteral("supplier quotes"),
                              QStringLiteral("the test results"),   QStringLiteral("handover notes"),
                              QStringLiteral("the risk register"),  QStringLiteral("the invoice draft"),
                              QStringLiteral("the façade details"), QStringLiteral("the cable schedule")};
const QStringList kMeetingKinds = {QStringLiteral("Meeting"), QStringLiteral("Call"),
                                   QStringLiteral("Workshop"), QStringLiteral("Site walk"),
                                   QStringLiteral("Review session")};
const QStringList kTopics = {QStringLiteral("progress"),
                             QStringLiteral("open issues"),
                             QStringLiteral("the next phase"),
                             QStringLiteral("costs"),
                             QStringLiteral("the schedule"),
                             QStringLiteral("safety"),
                             QStringLiteral("the contractor's offer"),
                             QStringLiteral("acceptance")};
const QStringList kCompanies = {QStringLiteral("Northwind Builders"), QStringLiteral("Blue Fjord AS"),
                                QStringLiteral("Kessler & Söhne"), QStringLiteral("Marlow Estates"),
                                QStringLiteral("Vega Consulting")};
const QStringList kLocations = {QStringLiteral("Room 2.14"), QStringLiteral("Client office"),
                                QStringLiteral("Site hut"), QStringLiteral("Online"),
                                QStringLiteral("Besprechungsraum Süd")};

// Plain ASCII for an address: accents dropped, letters without a decomposition spelled out.
QString AddressPart(const QString& name) {
    QString out;
    for (const QChar c : name.normalized(QString::NormalizationForm_KD)) {
        const char16_t u = c.toLower().unicode();
        if ((u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9'))
            out += QChar(u);
        else if (u == u'ł')
            out += u'l';
        else if (u == u'ø')
            out += u'o';
        else if (u == u'ß')
            out += QStringLiteral("ss");
        else if (u == u'æ')
            out += QStringLiteral("ae");
    }
    return out;
}

// A whole-cent amount between low and high cents, in steps of step cents.
Money Amount(Random& r, int lowCents, int highCents, int stepCents) {
    const int cents = lowCents + stepCents * r.Below((highCents - lowCents) / stepCents + 1);
    return Money::fromUnits(qint64(cents) * 100);
}

// Texts of a pool, numbered once the pool runs out, so the names stay unique.
QString Numbered(const QStringList& pool, int i) {
    const int round = i / int(pool.size());
    const QString base = pool[i % pool.size()];
    return round == 0 ? base : base + QStringLiteral(" ") + QString::number(round + 1);
}

Model BuildModel(const SampleSpec& plan) {
    Random r(plan.seed);
    Model m;
    QSet<QString> names;
    QSet<QString> addresses;
    for (int i = 0; i < plan.members; ++i) {
        Member mem;
        // The first two always carry an apostrophe and letters beyond ASCII, whatever the seed.
        for (int attempt = 0; mem.name.isEmpty() || names.contains(mem.name.toCaseFolded()); ++attempt) {
            QString first = i == 1 ? r.Pick(kAccentedFirstNames) : r.Pick(kFirstNames);
            QString last = i == 0   ? r.Pick(kApostropheSurnames)
                           : i == 1 ? r.Pick(kAccentedSurnames)
                                    : r.Pick(kSurnames);
            mem.name = first + u' ' + last;
            if (attempt >= 8)
                mem.name += QStringLiteral(" ") + QString::number(i + 1);
        }
        names.insert(mem.name.toCaseFolded());
        const qsizetype space = mem.name.indexOf(u' ');
        QString address = AddressPart(mem.name.left(space)) + u'.' + AddressPart(mem.name.mid(space + 1));
        if (addresses.contains(address))
            address += QString::number(i + 1);
        addresses.insert(address);
        mem.email = address + QStringLiteral("@example.org");
        mem.department = r.Pick(kDepartments);
        mem.rate = Amount(r, 4000, 16000, 250);
        m.members.push_back(mem);
    }
    m.activitiesPerProject = qMax(1, plan.activitiesPerProject);
    for (int p = 0; p < plan.projects; ++p) {
        Project pr;
        pr.name = Numbered(kProjectNames, p);
        pr.manager = m.members.empty() ? QString() : m.members[size_t(r.Below(int(m.members.size())))].name;
        pr.code = QStringLiteral("P-%1").arg(1001 + p);
        const QString phase = r.Pick(kListValues[2]);
        pr.description = phase + QStringLiteral(" for ") + r.Pick(kCompanies);
        pr.rate = Amount(r, 6000, 18000, 500);
        pr.color = r.Below(27);
        pr.start = plan.firstDay.addDays(-r.Below(120));
        pr.finish = plan.firstDay.addDays(plan.days + r.Below(180));
        pr.firstActivity = int(m.activities.size());
        // Each project takes a run of the activity pool from a random place: distinct within it.
        const int offset = r.Below(int(kActivityNames.size()));
        for (int a = 0; a < m.activitiesPerProject; ++a) {
            Activity act;
            const int k = offset + a;
            act.name = kActivityNames[k % kActivityNames.size()];
            if (a >= kActivityNames.size())
                act.name += QStringLiteral(" ") + QString::number(a / kActivityNames.size() + 1);
            act.coordinator =
                m.members.empty() ? QString() : m.members[size_t(r.Below(int(m.members.size())))].name;
            act.rate = Amount(r, 5000, 15000, 250);
            act.due = r.Chance(15) ? QDate() : pr.finish.addDays(-r.Below(60));
            m.activities.push_back(act);
        }
        m.projects.push_back(pr);
    }
    for (int l = 0; l < 4; ++l)
        for (int i = 0; i < plan.customItemsPerList; ++i)
            m.lists[size_t(l)].append(Numbered(kListValues[size_t(l)], i));
    return m;
}

const QStringList kTaskColumns = {
    QStringLiteral("ActualWork"), QStringLiteral("BillingInformation"), QStringLiteral("Categories"),
    QStringLiteral("Companies"), QStringLiteral("Complete"), QStringLiteral("ContactNames"),
    QStringLiteral("CreationTime"), QStringLiteral("DateCompleted"), QStringLiteral("DelegationState"),
    QStringLiteral("Delegator"), QStringLiteral("DueDate"), QStringLiteral("EntryID"),
    QStringLiteral("Importance"), QStringLiteral("IsRecurring"), QStringLiteral("LastModificationTime"),
    QStringLiteral("Mileage"), QStringLiteral("NoAging"), QStringLiteral("Ordinal"), QStringLiteral("Owner"),
    QStringLiteral("Ownership"), QStringLiteral("Role"), QStringLiteral("SchedulePlusPriority"),
    QStringLiteral("Sensitivity"), QStringLiteral("StartDate"), QStringLiteral("Status"),
    QStringLiteral("StatusOnCompletionRecipients"), QStringLiteral("StatusUpdateRecipients"),
    QStringLiteral("Subject"), QStringLiteral("TeamTask"), QStringLiteral("TotalWork"),
    QStringLiteral("Body"), QStringLiteral("HTMLBody"),
    // the part both tables share
    QStringLiteral("ReportedDate"), QStringLiteral("ReportedBy"), QStringLiteral("ProjectValue"),
    QStringLiteral("ActivityValue"), QStringLiteral("Field1Value"), QStringLiteral("Field2Value"),
    QStringLiteral("Field3Value"), QStringLiteral("Field4Value"), QStringLiteral("Field5Value"),
    QStringLiteral("Field6Value"), QStringLiteral("Field7Value"), QStringLiteral("Field8Value"),
    QStringLiteral("Field9Value"), QStringLiteral("Field10Value"), QStringLiteral("TotalCost"),
    QStringLiteral("Approved"), QStringLiteral("ApprovedBy")};

// BusyStatus, ReplyTime and ResponseRequested stay null: the reporting client never writes them.
const QStringList kAppointmentColumns = {QStringLiteral("AllDayEvent"),
                                         QStringLiteral("BillingInformation"),
                                         QStringLiteral("Categories"),
                                         QStringLiteral("Companies"),
                                         QStringLiteral("CreationTime"),
                                         QStringLiteral("Duration"),
                                         QStringLiteral("EndDate"),
                                         QStringLiteral("EntryID"),
                                         QStringLiteral("Importance"),
                                         QStringLiteral("IsRecurring"),
                                         QStringLiteral("LastModificationTime"),
                                         QStringLiteral("Location"),
                                         QStringLiteral("MeetingStatus"),
                                         QStringLiteral("Mileage"),
                                         QStringLiteral("NoAging"),
                                         QStringLiteral("OptionalAttendees"),
                                         QStringLiteral("Organizer"),
                                         QStringLiteral("RecurrenceState"),
                                         QStringLiteral("RequiredAttendees"),
                                         QStringLiteral("Resources"),
                                         QStringLiteral("ResponseStatus"),
                                         QStringLiteral("Sensitivity"),
                                         QStringLiteral("StartDate"),
                                         QStringLiteral("NetMeetingOrganizerAlias"),
                                         QStringLiteral("Subject"),
                                         QStringLiteral("Body"),
                                         QStringLiteral("HTMLBody"),
                                         QStringLiteral("ReportedDate"),
                                         QStringLiteral("ReportedBy"),
                                         QStringLiteral("ProjectValue"),
                                         QStringLiteral("ActivityValue"),
                                         QStringLiteral("Field1Value"),
                                         QStringLiteral("Field2Value"),
                                         QStringLiteral("Field3Value"),
                                         QStringLiteral("Field4Value"),
                                         QStringLiteral("Field5Value"),
                                         QStringLiteral("Field6Value"),
                                         QStringLiteral("Field7Value"),
                                         QStringLiteral("Field8Value"),
                                         QStringLiteral("Field9Value"),
                                         QStringLiteral("Field10Value"),
                                         QStringLiteral("TotalCost"),
                                         QStringLiteral("Approved"),
                                         QStringLiteral("ApprovedBy")};

// Appends rows to one table: full statements of kRowsPerStatement rows, the rest one by one.
// Each statement is prepared once and bound anew for every use.
class TableWriter {
  public:
    static constexpr int kRowsPerStatement = 16;  // 16 x 49 values stays under any engine's limit

    TableWriter(const std::shared_ptr<Connection>& connection, const QString& table,
                const QStringList& columns)
        : connection_(connection), batch_(connection), single_(connection), columns_(int(columns.size())) {
        for (const QString& c : columns)
            kinds_.push_back(KindOfColumn(c));
        const QString row =
            QStringLiteral("(") + QStringList(columns.size(), QStringLiteral("?")).join(u',') + u')';
        const QString head = QStringLiteral("INSERT INTO ") + table + QStringLiteral(" (") +
                             columns.join(u',') + QStringLiteral(") VALUES ");
        single_.CommandText = head + row;
        batch_.CommandText = head + QStringList(kRowsPerStatement, row).join(u',');
        pending_.reserve(qsizetype(columns_) * kRowsPerStatement);
    }

    bool Add(const QVariantList& row, Failure* failure) {
        for (int i = 0; i < columns_; ++i)
            pending_.append(connection_->ToStorage(row[i], kinds_[size_t(i)]));
        if (pending_.size() < qsizetype(columns_) * kRowsPerStatement)
            return true;
        const bool ok = Run(batch_, pending_, failure);
        pending_.clear();
        return ok;
    }

    bool Flush(Failure* failure) {
        bool ok = true;
        for (qsizetype at = 0; ok && at < pending_.size(); at += columns_)
            ok = Run(single_, pending_.mid(at, columns_), failure);
        pending_.clear();
        return ok;
    }
    void Discard() { pending_.clear(); }

  private:
    static bool Run(Command& command, const QVariantList& values, Failure* failure) {
        if (command.Execute(values) >= 0)
            return true;
        if (failure)
            *failure = command.LastError();
        return false;
    }

    std::shared_ptr<Connection> connection_;
    Command batch_;
    Command single_;
    int columns_;
    std::vector<ColumnKind> kinds_;
    QVariantList pending_;
};

// Wall-clock times with no zone: the stored text is the same, and no local-time lookup per value.
QVariant At(const QDate& day, int minutes) {
    return QDateTime(day, QTime(0, 0), Qt::UTC).addSecs(qint64(minutes) * 60);
}

QString EntryId(Random& r, qint64 index) {
    QString id = QStringLiteral("00000000");
    for (int i = 0; i < 8; ++i)
        id += QStringLiteral("%1").arg(r.Below(0x10000), 4, 16, QLatin1Char('0'));
    return id + QStringLiteral("%1").arg(quint64(index), 8, 16, QLatin1Char('0')).toUpper();
}

QString Importance(Random& r) {
    const int n = r.Below(100);
    return n < 80 ? QStringLiteral("Normal") : n < 92 ? QStringLiteral("High") : QStringLiteral("Low");
}

QString Sensitivity(Random& r) {
    const int n = r.Below(100);
    return n < 90   ? QStringLiteral("Normal")
           : n < 96 ? QStringLiteral("Private")
                    : QStringLiteral("Confidential");
}

QString HtmlOf(const QString& body) {
    return QStringLiteral("<html><body><p>") + body.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")) +
           QStringLiteral("</p></body></html>");
}

const QStringList kNextSteps = {QStringLiteral("send the update to the client"),
                                QStringLiteral("wait for approval"),
                                QStringLiteral("book the follow-up visit"), QStringLiteral("nothing open"),
                                QStringLiteral("check the numbers with finance")};
const QStringList kBilling = {QString(), QStringLiteral("Billable"), QStringLiteral("Fixed price"),
                              QStringLiteral("Time and material")};

// What a task and an appointment have in common, drawn first for either.
struct Common {
    const Member* reporter = nullptr;
    const Project* project = nullptr;
    const Activity* activity = nullptr;
    QDate day;
    int minutes = 0;
};

class ItemMaker {
  public:
    ItemMaker(const Model& model, const SampleSpec& plan)
        : m_(model), spec_(plan), r_(plan.seed * 2654435761u + 0x7A11u) {}

    bool NextIsTask() { return r_.Below(2) == 0; }

    QVariantList Task(qint64 index) {
        const Common c = Draw();
        const int minutes = c.minutes;
        const bool complete = r_.Chance(70);
        const QString verb = r_.Pick(kVerbs);
        const QString object = r_.Pick(kObjects);
        const QString subject = verb + u' ' + object;
        const QString body = QStringLiteral("%1 %2 for %3 (%4).\nNext: %5.")
                                 .arg(verb, object, c.project->name, c.activity->name, r_.Pick(kNextSteps));
        QString status = QStringLiteral("Completed");
        if (!complete) {
            const int n = r_.Below(100);
            status = n < 60   ? QStringLiteral("In Progress")
                     : n < 80 ? QStringLiteral("Not Started")
                     : n < 90 ? QStringLiteral("Waiting")
                              : QStringLiteral("Deferred");
        }
        const QDate createdDay = c.day.addDays(-r_.Below(6));
        const QVariant created = At(createdDay, 8 * 60 + r_.Below(600));
        const QVariant reported = At(c.day, 20 * 60 + r_.Below(180));
        QVariantList v;
        v.reserve(kTaskColumns.size());
        v << minutes << r_.Pick(kBilling) << (r_.Chance(50) ? c.project->name : QString())
          << (r_.Chance(60) ? r_.Pick(kCompanies) : QString()) << int(complete)
          << (r_.Chance(30) ? OtherMember(c.reporter) : QString()) << created
          << (complete ? At(c.day, 0) : QVariant()) << QStringLiteral("Not Delegated") << QString()
          << At(c.day.addDays(r_.Below(6)), 0) << EntryId(r_, index) << Importance(r_) << int(r_.Chance(3))
          << reported.toDateTime().addSecs(-60 * (1 + r_.Below(30)))
          << (r_.Chance(10) ? QStringLiteral("%1 km").arg(5 + r_.Below(120)) : QString()) << 0
          << r_.Below(100) << c.reporter->name << QStringLiteral("Own Task") << QString() << QString()
          << Sensitivity(r_) << At(c.day, 0) << status << QString() << QString() << subject << 0
          << minutes + 15 * r_.Below(5) << body << HtmlOf(body);
        Shared(v, c, reported);
        return v;
    }

    QVariantList Appointment(qint64 index) {
        Common c = Draw();
        const bool allDay = r_.Chance(3);
        int startMinute = 0;
        if (allDay)
            c.minutes = 24 * 60;
        else  // between 08:00 and an end by 20:00
            startMinute = 8 * 60 + 15 * r_.Below((12 * 60 - c.minutes) / 15 + 1);
        const bool meeting = r_.Chance(60);
        const bool recurring = r_.Chance(8);
        const QString kind = r_.Pick(kMeetingKinds);
        const QString subject = r_.Chance(50) ? kind + QStringLiteral(" about ") + r_.Pick(kTopics)
                                              : kind + QStringLiteral(" with ") + r_.Pick(kCompanies);
        const QString body = QStringLiteral("%1 on %2 (%3).\nNext: %4.")
                                 .arg(subject, c.project->name, c.activity->name, r_.Pick(kNextSteps));
        QString required;
        if (meeting) {
            const int n = 1 + r_.Below(3);
            QStringList names;
            for (int i = 0; i < n; ++i)
                names << OtherMember(c.reporter);
            required = names.join(QStringLiteral("; "));
        }
        const QDate createdDay = c.day.addDays(-r_.Below(14));
        const QVariant created = At(createdDay, 7 * 60 + r_.Below(60));
        const QVariant reported = At(c.day, 20 * 60 + r_.Below(180));
        QVariantList v;
        v.reserve(kAppointmentColumns.size());
        v << int(allDay) << r_.Pick(kBilling) << (r_.Chance(50) ? c.project->name : QString())
          << (r_.Chance(60) ? r_.Pick(kCompanies) : QString()) << created << c.minutes
          << At(c.day, startMinute + c.minutes) << EntryId(r_, index) << Importance(r_) << int(recurring)
          << reported.toDateTime().addSecs(-60 * (1 + r_.Below(30))) << r_.Pick(kLocations)
          << (meeting ? QStringLiteral("Meeting") : QStringLiteral("Non-Meeting"))
          << (r_.Chance(10) ? QStringLiteral("%1 km").arg(5 + r_.Below(120)) : QString()) << 0
          << (meeting && r_.Chance(30) ? OtherMember(c.reporter) : QString()) << c.reporter->name
          << (recurring ? QStringLiteral("Appointment Occurrence")
                        : QStringLiteral("Appointment Not Recurring"))
          << required << (r_.Chance(10) ? QStringLiteral("Projector") : QString())
          << (meeting ? QStringLiteral("Organized") : QStringLiteral("None")) << Sensitivity(r_)
          << At(c.day, startMinute) << QString() << subject << body << HtmlOf(body);
        Shared(v, c, reported);
        return v;
    }

  private:
    Common Draw() {
        Common c;
        c.reporter = &m_.members[size_t(r_.Below(int(m_.members.size())))];
        const int p = r_.Below(int(m_.projects.size()));
        c.project = &m_.projects[size_t(p)];
        c.activity = &m_.activities[size_t(c.project->firstActivity + r_.Below(m_.activitiesPerProject))];
        // Fewer reports fall on a weekend: most weekend draws are drawn again once.
        int d = r_.Below(spec_.days);
        if (spec_.firstDay.addDays(d).dayOfWeek() >= 6 && r_.Chance(75))
            d = r_.Below(spec_.days);
        c.day = spec_.firstDay.addDays(d);
        // Quarter hours from 15 minutes to a little over 8 hours, most near half a day.
        const int quarters = 1 + r_.Below(16);
        c.minutes = 15 * (quarters + r_.Below(17));
        return c;
    }

    // A colleague of the reporter for attendees and contacts: the next member when the draw hits them.
    QString OtherMember(const Member* reporter) {
        const size_t n = m_.members.size();
        size_t i = size_t(r_.Below(int(n)));
        if (&m_.members[i] == reporter && n > 1)
            i = (i + 1) % n;
        return m_.members[i].name;
    }

    QString ListValue(int list) {
        const QStringList& values = m_.lists[size_t(list)];
        return values.isEmpty() ? QString() : values[r_.Below(int(values.size()))];
    }

    // ReportedDate to ApprovedBy, the same columns in both tables.
    void Shared(QVariantList& v, const Common& c, const QVariant& reported) {
        const bool approved = r_.Chance(spec_.approvedPercent);
        v << reported << c.reporter->name << c.project->name << c.activity->name << ListValue(0)
          << ListValue(1) << ListValue(2) << ListValue(3)
          << (r_.Chance(60) ? QStringLiteral("T-%1").arg(10000 + r_.Below(90000)) : QString())
          << (r_.Chance(40) ? QStringLiteral("WO-%1").arg(100 + r_.Below(900)) : QString())
          << (r_.Chance(20) ? QStringLiteral("Overtime agreed with ") + c.project->manager : QString())
          << (r_.Chance(30) ? Amount(r_, 100, 20000, 50).toPlainString() : QString())
          << QVariant::fromValue(r_.Chance(25) ? Amount(r_, 0, 20000, 50) : Money{})
          << QVariant::fromValue(r_.Chance(15) ? Amount(r_, 0, 10000, 50) : Money{})
          << QVariant::fromValue(c.project->rate.mulDiv(c.minutes, 60)) << int(approved)
          << (approved ? c.project->manager : QString());
    }

    const Model& m_;
    const SampleSpec& spec_;
    Random r_;
};

bool Fail(Failure* failure, const QString& text) {
    if (failure)
        *failure = Failure{dberr::kBadArguments, text, 0, QStringLiteral("SampleData")};
    return false;
}

bool WriteItems(Connection& db, const Model& m, const SampleSpec& plan, SampleCounts* counts,
                Failure* failure, const std::function<bool(qint64, qint64)>& progress) {
    const qint64 total = qMax<qint64>(0, plan.reportedItems);
    if (total > 0 && (m.members.empty() || m.projects.empty() || plan.days <= 0 || !plan.firstDay.isValid()))
        return Fail(failure, QStringLiteral("Reported items need a member, a project and a range of days."));
    // A non-owning handle: the caller keeps the connection alive for the whole call.
    const std::shared_ptr<Connection> handle(std::shared_ptr<Connection>(), &db);
    TableWriter tasks(handle, QStringLiteral("tReportedTasks"), kTaskColumns);
    TableWriter appointments(handle, QStringLiteral("tReportedAppointments"), kAppointmentColumns);
    ItemMaker maker(m, plan);
    constexpr qint64 kItemsPerTransaction = 5000;
    qint64 done = 0;
    while (done < total) {
        if (!db.BeginTransaction(failure))
            return false;
        const qint64 end = qMin(total, done + kItemsPerTransaction);
        qint64 newTasks = 0;
        bool ok = true;
        for (qint64 i = done; ok && i < end; ++i) {
            if (maker.NextIsTask()) {
                ok = tasks.Add(maker.Task(i), failure);
                ++newTasks;
            } else {
                ok = appointments.Add(maker.Appointment(i), failure);
            }
        }
        ok = ok && tasks.Flush(failure) && appointments.Flush(failure);
        if (!ok) {
            tasks.Discard();
            appointments.Discard();
            db.RollbackTransaction();
            return false;
        }
        if (!db.CommitTransaction(failure))
            return false;
        if (counts) {
            counts->tasks += newTasks;
            counts->appointments += (end - done) - newTasks;
        }
        done = end;
        if (progress && !progress(done, total))
            return false;
    }
    return true;
}

bool WriteLists(Connection& db, const Model& m, SampleCounts* counts, Failure* failure) {
    const std::shared_ptr<Connection> handle(std::shared_ptr<Connection>(), &db);
    auto date = [](const QDate& d) { return d.isValid() ? QVariant(QDateTime(d, QTime(0, 0))) : QVariant(); };
    QSet<QString> managers;
    for (const Project& p : m.projects)
        managers.insert(p.manager);
    // A deque: the rows of each table are filled through references while more tables are added.
    std::deque<std::pair<std::unique_ptr<TableWriter>, std::vector<QVariantList>>> tables;
    auto add = [&](const QString& table, const QStringList& columns) -> std::vector<QVariantList>& {
        tables.emplace_back(std::make_unique<TableWriter>(handle, table, columns),
                            std::vector<QVariantList>());
        return tables.back().second;
    };
    auto& members = add(QStringLiteral("tMembers"),
                        {QStringLiteral("Name"), QStringLiteral("Email"), QStringLiteral("Department"),
                         QStringLiteral("Rate"), QStringLiteral("AdminAccess")});
    for (const Member& x : m.members)
        members.push_back(
            {x.name, x.email, x.department, QVariant::fromValue(x.rate), int(managers.contains(x.name))});
    auto& projects =
        add(QStringLiteral("tProjects"),
            {QStringLiteral("ProjectName"), QStringLiteral("ProjectManager"), QStringLiteral("Rate"),
             QStringLiteral("ColorCode"), QStringLiteral("StartDate"), QStringLiteral("FinishDate"),
             QStringLiteral("Description"), QStringLiteral("ProjectCode")});
    auto& activities = add(QStringLiteral("tActivities"),
                           {QStringLiteral("ActivityName"), QStringLiteral("Project"), QStringLiteral("Rate"),
                            QStringLiteral("Coordinator"), QStringLiteral("DueDate")});
    for (const Project& p : m.projects) {
        projects.push_back({p.name, p.manager, QVariant::fromValue(p.rate), p.color, date(p.start),
                            date(p.finish), p.description, p.code});
        for (int a = 0; a < m.activitiesPerProject; ++a) {
            const Activity& x = m.activities[size_t(p.firstActivity + a)];
            activities.push_back({x.name, p.name, QVariant::fromValue(x.rate), x.coordinator, date(x.due)});
        }
    }
    for (int l = 0; l < 4; ++l) {
        auto& list = add(QStringLiteral("tCustomList%1").arg(l + 1), {QStringLiteral("CustomFieldName")});
        for (const QString& value : m.lists[size_t(l)])
            list.push_back({value});
    }
    if (!db.BeginTransaction(failure))
        return false;
    for (auto& [writer, rows] : tables) {
        bool ok = true;
        for (const QVariantList& row : rows)
            ok = ok && writer->Add(row, failure);
        if (!ok || !writer->Flush(failure)) {
            db.RollbackTransaction();
            return false;
        }
    }
    if (!db.CommitTransaction(failure))
        return false;
    if (counts) {
        counts->members = int(m.members.size());
        counts->projects = int(m.projects.size());
        counts->activities = int(m.activities.size());
    }
    return true;
}

}  // namespace

bool FillSampleData(Connection& db, const SampleSpec& plan, SampleCounts* counts, Failure* failure,
                    const std::function<bool(qint64 done, qint64 total)>& progress) {
    SampleCounts local;
    SampleCounts* c = counts ? counts : &local;
    *c = SampleCounts();
    const Model m = BuildModel(plan);
    return WriteLists(db, m, c, failure) && WriteItems(db, m, plan, c, failure, progress);
}

bool FillReportedItems(Connection& db, const SampleSpec& plan, SampleCounts* counts, Failure* failure,
                       const std::function<bool(qint64 done, qint64 total)>& progress) {
    SampleCounts local;
    SampleCounts* c = counts ? counts : &local;
    *c = SampleCounts();
    return WriteItems(db, BuildModel(plan), plan, c, failure, progress);
}

}  // namespace tlm
