#pragma once
// The process's peak resident set, with a reset, so that a benchmark's preparation (filling the
// database) does not count as the peak of what is measured after it.
#include <QByteArray>
#include <QFile>

namespace tlm::bench {

// The peak since the start or the last ResetPeakRss(), in MB (VmHWM); -1 when unknown.
inline long PeakRssMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong() / 1024;
    return -1;
}

// Makes the current resident set the new peak (Linux clear_refs "5"); false when refused.
inline bool ResetPeakRss() {
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1;
}

}  // namespace tlm::bench
