#include "reports/report_presets.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

#include "core/local_settings.h"
#include "reports/report_query.h"

namespace tlm {

namespace {

const QString kSection = QStringLiteral("ReportPresets");
const QString kKey = QStringLiteral("Presets");
const QString kDay = QStringLiteral("yyyy-MM-dd");

}  // namespace

QString EncodeReportPresets(const std::vector<ReportPreset>& presets) {
    QJsonArray list;
    for (const ReportPreset& p : presets) {
        QJsonObject o;
        o.insert(QStringLiteral("name"), p.name);
        o.insert(QStringLiteral("type"), p.typeIndex);
        o.insert(QStringLiteral("period"), p.period);
        if (p.period == kDateRangePeriod) {
            o.insert(QStringLiteral("from"), p.rangeStart.toString(kDay));
            o.insert(QStringLiteral("to"), p.rangeEnd.toString(kDay));
        }
        o.insert(QStringLiteral("filter"), p.filterIndex);
        o.insert(QStringLiteral("list"), p.listText);
        o.insert(QStringLiteral("fields"), QJsonArray::fromStringList(p.ticked));
        list.append(o);
    }
    return QString::fromUtf8(QJsonDocument(list).toJson(QJsonDocument::Compact));
}

std::vector<ReportPreset> DecodeReportPresets(const QString& text) {
    std::vector<ReportPreset> out;
    const QJsonDocument doc = QJsonDocument::fromJson(text.toUtf8());
    if (!doc.isArray())
        return out;
    for (const QJsonValue& v : doc.array()) {
        const QJsonObject o = v.toObject();
        ReportPreset p;
        p.name = o.value(QStringLiteral("name")).toString().trimmed();
        p.typeIndex = o.value(QStringLiteral("type")).toInt(-1);
        p.period = o.value(QStringLiteral("period")).toString();
        p.rangeStart = QDate::fromString(o.value(QStringLiteral("from")).toString(), kDay);
        p.rangeEnd = QDate::fromString(o.value(QStringLiteral("to")).toString(), kDay);
        p.filterIndex = o.value(QStringLiteral("filter")).toInt(-1);
        p.listText = o.value(QStringLiteral("list")).toString();
        for (const QJsonValue& f : o.value(QStringLiteral("fields")).toArray())
            if (f.isString())
                p.ticked.append(f.toString());
        // A preset that names nothing runnable is dropped rather than offered.
        const bool rangeOk = p.period != kDateRangePeriod || (p.rangeStart.isValid() && p.rangeEnd.isValid());
        if (p.name.isEmpty() || p.typeIndex < 0 || p.typeIndex > 1 || p.filterIndex < 0 ||
            p.filterIndex > 2 || !ReportPeriodNames().contains(p.period) || !rangeOk ||
            FindReportPreset(out, p.name))
            continue;
        out.push_back(std::move(p));
    }
    return out;
}

std::vector<ReportPreset> LoadReportPresets(Failure* failure) {
    return DecodeReportPresets(GetSetting(kSettingsApplication, kSection, kKey, QString(), failure));
}

bool SaveReportPresets(const std::vector<ReportPreset>& presets, Failure* failure) {
    return SaveSetting(kSettingsApplication, kSection, kKey, EncodeReportPresets(presets), failure);
}

const ReportPreset* FindReportPreset(const std::vector<ReportPreset>& presets, const QString& name) {
    const QString wanted = name.trimmed();
    for (const ReportPreset& p : presets)
        if (p.name.compare(wanted, Qt::CaseInsensitive) == 0)
            return &p;
    return nullptr;
}

void PutReportPreset(std::vector<ReportPreset>& presets, ReportPreset preset) {
    preset.name = preset.name.trimmed();
    RemoveReportPreset(presets, preset.name);
    const auto at = std::find_if(presets.begin(), presets.end(), [&](const ReportPreset& p) {
        return p.name.compare(preset.name, Qt::CaseInsensitive) > 0;
    });
    presets.insert(at, std::move(preset));
}

bool RemoveReportPreset(std::vector<ReportPreset>& presets, const QString& name) {
    const auto before = presets.size();
    std::erase_if(presets, [&](const ReportPreset& p) {
        return p.name.compare(name.trimmed(), Qt::CaseInsensitive) == 0;
    });
    return presets.size() != before;
}

ReportPreset PresetOfChoices(const QString& name, const ReportChoices& choices) {
    ReportPreset p;
    p.name = name.trimmed();
    p.typeIndex = choices.typeIndex;
    p.period = choices.period;
    if (choices.period == kDateRangePeriod) {
        p.rangeStart = choices.rangeStart;
        p.rangeEnd = choices.rangeEnd;
    }
    p.filterIndex = choices.listText.isEmpty() ? 0 : choices.filterIndex;
    p.listText = p.filterIndex > 0 ? choices.listText : QString();
    p.ticked = choices.ticked;
    return p;
}

ReportRequest RequestWithPreset(const ReportPreset& preset, const ReportRequest& line) {
    ReportRequest r = line;
    if (!r.typeIndex)
        r.typeIndex = preset.typeIndex;
    if (line.period.isEmpty() && !line.from.isValid() && !line.to.isValid()) {
        if (preset.period == kDateRangePeriod) {
            r.from = preset.rangeStart;
            r.to = preset.rangeEnd;
        } else {
            r.period = preset.period;
        }
    }
    if (line.project.isEmpty() && line.member.isEmpty()) {
        if (preset.filterIndex == 1)
            r.project = preset.listText;
        else if (preset.filterIndex == 2)
            r.member = preset.listText;
    }
    if (!line.fields && *r.typeIndex == preset.typeIndex)
        r.fields = preset.ticked;
    return r;
}

}  // namespace tlm
