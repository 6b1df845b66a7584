#pragma once

#include <QString>

namespace tlm {

// Secrets never appear in a report, message, mail or log. Connection-string passwords
// ("Password=", "PWD=") are masked by pattern; any registered secret by value. Safe from any thread:
// the mail delivery thread masks what it logs.
void RegisterSecret(const QString& secret);
QString MaskSecrets(const QString& text);

}  // namespace tlm
