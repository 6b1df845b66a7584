#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <cstddef>
#include <cstdint>

// Shared pieces of the fuzz targets: a private folder for every file a target writes, quiet
// failure paths, and a check that stops the run so libFuzzer keeps the input.
namespace tlm::fuzz {

// Once per process, from LLVMFuzzerInitialize: settings, data and runtime folders below a private
// temporary folder (never the user's), no report dialogs, no prompts, no Qt chatter.
void Init(int* argc, char*** argv);
// The private folder of this process.
QString Root();

// The bytes as text the way a file is read: UTF-8, invalid sequences replaced.
QString Utf8(const uint8_t* data, size_t size);
QString Utf8(const QByteArray& bytes);
// Splits at `sep`; at most `maxParts` parts, the last one keeps the rest.
QList<QByteArray> Split(const uint8_t* data, size_t size, char sep, int maxParts);

// Writes bytes to a file below Root() and gives its path. Each write gets a modification time of
// its own, so a reader that caches by time and size (QSettings) always reads the new bytes.
QString WriteFile(const QString& name, const QByteArray& bytes);

// Reports of the failure path since the last ResetReports(): read failures show up here.
int ReportCount();
QString LastReport();
void ResetReports();

// A broken property: prints what and the detail, then aborts (libFuzzer saves the input).
[[noreturn]] void Fail(const char* what, const QString& detail);

}  // namespace tlm::fuzz

#define FUZZ_CHECK(cond, detail)                       \
    do {                                               \
        if (!(cond))                                   \
            ::tlm::fuzz::Fail(#cond, QString(detail)); \
    } while (0)
