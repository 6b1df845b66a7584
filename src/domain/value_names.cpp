#include "domain/value_names.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <array>

namespace tlm {

namespace {

struct ValueTable {
    QList<QPair<int, QString>> codes;
    QString fallback;
};

const QHash<QString, ValueTable>& Tables() {
    static const QHash<QString, ValueTable> tables = [] {
        QHash<QString, ValueTable> t;
        const auto add = [&](const char* name, QList<QPair<int, QString>> codes, const char* fallback) {
            t.insert(QLatin1String(name), ValueTable{std::move(codes), QLatin1String(fallback)});
        };
        add("importance", {{1, QStringLiteral("Normal")}, {2, QStringLiteral("High")}}, "Low");
        add("flagstatus", {{1, QStringLiteral("Complete")}, {2, QStringLiteral("Marked")}}, "None");
        add("flagicon",
            {{1, QStringLiteral("Purple")},
             {2, QStringLiteral("Orange")},
             {3, QStringLiteral("Green")},
             {4, QStringLiteral("Yellow")},
             {5, QStringLiteral("Blue")},
             {6, QStringLiteral("Red")}},
            "None");
        add("sensitivity",
            {{1, QStringLiteral("Personal")},
             {2, QStringLiteral("Private")},
             {3, QStringLiteral("Confidential")}},
            "Normal");
        add("bodyformat",
            {{1, QStringLiteral("Plain")}, {2, QStringLiteral("HTML")}, {3, QStringLiteral("Rich Text")}},
            "Unspecified");
        add("busystatus",
            {{1, QStringLiteral("Tentative")},
             {2, QStringLiteral("Busy")},
             {3, QStringLiteral("Out of Office")}},
            "Free");
        add("downloadstate", {{1, QStringLiteral("Full Item")}}, "Header Only");
        add("status",
            {{1, QStringLiteral("In Progress")},
             {2, QStringLiteral("Completed")},
             {3, QStringLiteral("Waiting")},
             {4, QStringLiteral("Deferred")}},
            "Not Started");
        add("meetingstatus",
            {{1, QStringLiteral("Meeting")},
             {3, QStringLiteral("Received")},
             {5, QStringLiteral("Canceled")}},
            "Non-Meeting");
        add("netmeetingtype", {{1, QStringLiteral("Net Show")}, {2, QStringLiteral("Exchange Conferencing")}},
            "Net Meeting");
        add("gender", {{1, QStringLiteral("Female")}, {2, QStringLiteral("Male")}}, "Unspecified");
        add("selectedmailingaddress",
            {{1, QStringLiteral("Home")}, {2, QStringLiteral("Business")}, {3, QStringLiteral("Other")}},
            "None");
        add("delegationstate",
            {{1, QStringLiteral("Delegation Unknown")},
             {2, QStringLiteral("Delegation Accepted")},
             {3, QStringLiteral("Delegation Declined")}},
            "Not Delegated");
        add("ownership", {{1, QStringLiteral("Delegated Task")}, {2, QStringLiteral("Own Task")}},
            "New Task");
        add("responsestatus",
            {{1, QStringLiteral("Organized")},
             {2, QStringLiteral("Tentative")},
             {3, QStringLiteral("Accepted")},
             {4, QStringLiteral("Declined")},
             {5, QStringLiteral("Not Responded")}},
            "None");
        // "Appointment Master " keeps its trailing blank: stored rows carry it.
        add("recurrencestate",
            {{2, QStringLiteral("Appointment Occurrence")},
             {1, QStringLiteral("Appointment Master ")},
             {3, QStringLiteral("Appointment Exception")},
             {0, QStringLiteral("Appointment Not Recurring")}},
            "None");
        return t;
    }();
    return tables;
}

// Properties stored as "True"/"False" text.
bool IsBooleanProperty(const QString& lowerName) {
    static const QStringList names = {QStringLiteral("isrecurring"), QStringLiteral("noaging"),
                                      QStringLiteral("teamtask"), QStringLiteral("alldayevent")};
    return names.contains(lowerName);
}

bool ToCode(const QVariant& value, qint64* code) {
    if (value.typeId() == QMetaType::Bool) {
        *code = value.toBool() ? -1 : 0;
        return true;
    }
    bool ok = false;
    const double d = value.toString().trimmed().toDouble(&ok);
    if (!ok)
        return false;
    *code = qint64(qRound64(d));
    return true;
}

struct CategoryColor {
    const char* name;
    qint32 ole;
};

constexpr std::array<CategoryColor, kCategoryColorCount> kCategoryColors = {{
    {"", 16777215},
    {"No color assigned.", 16777215},
    {"Red", 6972388},
    {"Orange", 5543156},
    {"Peach", 5032703},
    {"Yellow", 5569023},
    {"Green", 8049027},
    {"Teal", 11915899},
    {"Olive", 9093552},
    {"Blue", 14261106},
    {"Purple", 13727890},
    {"Maroon", 10650307},
    {"Steel", 14535876},
    {"Dark Steel", 7689799},
    {"Gray", 10855845},
    {"Dark Gray", 5197647},
    {"Black", 0},
    {"Dark Red", 2366888},
    {"Dark Orange", 871852},
    {"Dark Peach", 96424},
    {"Dark Yellow", 102805},
    {"Dark Green", 2782772},
    {"Dark Teal", 6388013},
    {"Dark Olive", 3696988},
    {"Dark Blue", 9326634},
    {"Dark Purple", 9253198},
    {"Dark Maroon", 6108800},
}};

const CategoryColor& ColorAt(int index) {
    return kCategoryColors[index >= 0 && index < kCategoryColorCount ? index : 0];
}

}  // namespace

QString fncGetItemValueName(const QString& propertyName, const QVariant& value) {
    const QString name = propertyName.toLower();
    if (IsBooleanProperty(name)) {
        qint64 code = 0;
        // Anything that is not the number 0 counts as true, as a boolean conversion does.
        const bool isFalse = ToCode(value, &code)
                                 ? code == 0
                                 : value.toString().compare(QLatin1String("false"), Qt::CaseInsensitive) == 0;
        return isFalse ? QStringLiteral("False") : QStringLiteral("True");
    }
    const auto it = Tables().constFind(name);
    if (it == Tables().constEnd()) {
        if (value.typeId() == QMetaType::Bool)
            return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
        return value.toString();
    }
    qint64 code = 0;
    if (ToCode(value, &code)) {
        for (const auto& [c, text] : it->codes) {
            if (c == code)
                return text;
        }
    }
    return it->fallback;
}

qint16 fncMajorVersion(const QString& versionText) {
    const QString head = versionText.section(QLatin1Char('.'), 0, 0).trimmed();
    bool ok = false;
    const int n = head.toInt(&ok);
    return ok && n >= -32768 && n <= 32767 ? qint16(n) : qint16(0);
}

QString GetCategoryColorName(int index) {
    return QString::fromLatin1(ColorAt(index).name);
}

qint32 GetOleColorFromColorIndex(int index) {
    return ColorAt(index).ole;
}

RgbColor RgbFromOleColor(qint32 ole) {
    return RgbColor{ole & 0xFF, (ole >> 8) & 0xFF, (ole >> 16) & 0xFF};
}

}  // namespace tlm
