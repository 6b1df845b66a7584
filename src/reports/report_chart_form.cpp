#include "reports/report_chart_form.h"

#include <QFontMetrics>
#include <QLocale>
#include <QPainter>
#include <algorithm>

namespace tlm {

namespace {
constexpr int kMaxGroups = 12;
constexpr int kRowHeight = 30;
constexpr int kTop = 46;
const QColor kCostColour(0x2e, 0x6d, 0xb4);
const QColor kTimeColour(0xe0, 0x8a, 0x1e);
}  // namespace

QImage RenderReportChart(const ReportChart& chart, int width) {
    std::vector<ChartGroup> groups = chart.groups;
    std::stable_sort(groups.begin(), groups.end(),
                     [](const ChartGroup& a, const ChartGroup& b) { return a.cost > b.cost; });
    if (int(groups.size()) > kMaxGroups) {
        ChartGroup others{QStringLiteral("Others"), 0, 0};
        for (size_t i = kMaxGroups - 1; i < groups.size(); ++i) {
            others.cost += groups[i].cost;
            others.minutes += groups[i].minutes;
        }
        groups.resize(kMaxGroups - 1);
        groups.push_back(others);
    }
    const int rows = std::max<int>(1, int(groups.size()));
    QImage image(width, kTop + rows * kRowHeight + 12, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QFont font(QStringLiteral("Tahoma"));
    font.setPixelSize(12);
    p.setFont(font);
    const QFontMetrics fm(font);

    const QString by = chart.byMember ? QStringLiteral("member") : QStringLiteral("project");
    const QString what = chart.appointments ? QStringLiteral("duration") : QStringLiteral("actual work");
    QFont bold = font;
    bold.setBold(true);
    p.setFont(bold);
    p.setPen(Qt::black);
    p.drawText(8, 18, QStringLiteral("Cost and ") + what + QStringLiteral(" (minutes) per ") + by);
    p.setFont(font);
    p.fillRect(8, 26, 10, 10, kCostColour);
    p.drawText(22, 36, QStringLiteral("Cost"));
    p.fillRect(70, 26, 10, 10, kTimeColour);
    p.drawText(84, 36, QStringLiteral("Minutes"));

    if (groups.empty()) {
        p.drawText(8, kTop + 18, QStringLiteral("No items"));
        return image;
    }
    double maxCost = 0, maxMinutes = 0;
    for (const ChartGroup& g : groups) {
        maxCost = std::max(maxCost, g.cost);
        maxMinutes = std::max(maxMinutes, g.minutes);
    }
    const int labelWidth = std::min(width / 4, 180);
    const int valueWidth = 90;
    const int barLeft = 8 + labelWidth + 6;
    const int barSpan = std::max(20, width - barLeft - valueWidth - 8);
    const QLocale locale;
    for (int i = 0; i < int(groups.size()); ++i) {
        const ChartGroup& g = groups[size_t(i)];
        const int y = kTop + i * kRowHeight;
        const QString name = g.name.isEmpty() ? QStringLiteral("(none)") : g.name;
        p.setPen(Qt::black);
        p.drawText(QRect(8, y, labelWidth, kRowHeight - 4), Qt::AlignRight | Qt::AlignVCenter,
                   fm.elidedText(name, Qt::ElideRight, labelWidth));
        const int costLen = maxCost > 0 ? int(barSpan * std::max(0.0, g.cost) / maxCost) : 0;
        const int timeLen = maxMinutes > 0 ? int(barSpan * std::max(0.0, g.minutes) / maxMinutes) : 0;
        const int half = (kRowHeight - 8) / 2;
        p.fillRect(barLeft, y + 2, std::max(costLen, 1), half, kCostColour);
        p.fillRect(barLeft, y + 2 + half, std::max(timeLen, 1), half, kTimeColour);
        p.setPen(Qt::darkGray);
        p.drawText(QRect(barLeft + std::max(costLen, 1) + 4, y + 2, valueWidth, half),
                   Qt::AlignLeft | Qt::AlignVCenter, locale.toString(g.cost, 'f', 2));
        p.drawText(QRect(barLeft + std::max(timeLen, 1) + 4, y + 2 + half, valueWidth, half),
                   Qt::AlignLeft | Qt::AlignVCenter, locale.toString(g.minutes, 'f', 0));
    }
    return image;
}

}  // namespace tlm
