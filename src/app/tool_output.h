#pragma once

#include <QString>
#include <cstdio>

namespace tlm {

// What the command-line tools print: text in the locale's encoding, errors with the program's name.
inline void Print(FILE* stream, const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

inline int Fail(int code, const QString& text) {
    Print(stderr, QStringLiteral("tlm-manager: ") + text + u'\n');
    return code;
}

}  // namespace tlm
