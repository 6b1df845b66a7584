#pragma once

#include <QImage>

#include "reports/report_render.h"

namespace tlm {

// The summary as a bar chart: cost and duration side by side for each project (or member), each
// measure on its own scale. The largest groups by cost are drawn; the rest are summed as "Others".
QImage RenderReportChart(const ReportChart& chart, int width = 760);

}  // namespace tlm
