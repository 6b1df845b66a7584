#include "core/secrets.h"

#include <QMutex>
#include <QRegularExpression>
#include <QStringList>

namespace tlm {

namespace {
QMutex g_mutex;
QStringList g_secrets;
}  // namespace

void RegisterSecret(const QString& secret) {
    // Very short values would mask ordinary words; connection-string patterns still cover them.
    QMutexLocker lock(&g_mutex);
    if (secret.size() >= 3 && !g_secrets.contains(secret))
        g_secrets.append(secret);
}

QString MaskSecrets(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("\\b(Password|PWD)\\s*=\\s*[^;\\r\\n]*"),
                                            QRegularExpression::CaseInsensitiveOption);
    QString out = text;
    out.replace(pattern, QStringLiteral("\\1=****"));
    QMutexLocker lock(&g_mutex);
    for (const QString& s : g_secrets)
        out.replace(s, QStringLiteral("****"));
    return out;
}

}  // namespace tlm
