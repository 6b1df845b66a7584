#include "core/file_services.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace tlm {

QString fncStripTrailingSlash(const QString& path) {
    if (path.endsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('\\')))
        return path.left(path.size() - 1);
    return path;
}

QString fncGetSpecialFolder(int folderNumber) {
    switch (folderNumber) {
        case 5:
            return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        case 43:
            return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        default:
            return QString();
    }
}

AtomicFile::AtomicFile(QString target, Access access) : target_(std::move(target)), access_(access) {}

AtomicFile::~AtomicFile() {
    cancel();
}

bool AtomicFile::open(QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    cancel();
    // The folder must exist: an export to a folder that is gone is refused, not made.
    const QFileInfo info(target_);
    // A name of our own beside the target: a rename within one folder is one step.
    const QByteArray base = QFile::encodeName(info.absolutePath() + QStringLiteral("/.") + info.fileName());
    struct stat existing {};
    const bool exists = ::stat(QFile::encodeName(target_).constData(), &existing) == 0;
    const mode_t mode = access_ == Access::Private ? 0600 : 0666;
    int fd = -1;
    QByteArray name;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        name = base + '.' + QByteArray::number(::getpid()) + '.' +
               QByteArray::number(QRandomGenerator::global()->generate(), 36) + ".tmp";
        fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd < 0 && errno != EEXIST)
            return fail(QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (fd < 0)
        return fail(QStringLiteral("no temporary name is free"));
    // An existing file keeps its mode, unless a secret now goes into it.
    if (exists && access_ == Access::Usual)
        ::fchmod(fd, existing.st_mode & 07777);
    temporary_ = QFile::decodeName(name);
    file_ = std::make_unique<QFile>();
    if (!file_->open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        const QString why = file_->errorString();
        cancel();
        return fail(why);
    }
    return true;
}

QIODevice* AtomicFile::device() {
    return file_.get();
}

bool AtomicFile::commit(QString* error) {
    const auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        cancel();
        return false;
    };
    if (temporary_.isEmpty() || !file_)
        return fail(QStringLiteral("the file was not opened"));
    if (!file_->flush())
        return fail(file_->errorString());
    if (::fsync(file_->handle()) != 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    file_->close();
    // A library that wrote by name may have replaced the file; the checks hold for what is there.
    if (::rename(QFile::encodeName(temporary_).constData(), QFile::encodeName(target_).constData()) != 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    temporary_.clear();
    file_.reset();
    return true;
}

void AtomicFile::cancel() {
    if (file_) {
        file_->close();
        file_.reset();
    }
    if (!temporary_.isEmpty()) {
        ::unlink(QFile::encodeName(temporary_).constData());
        temporary_.clear();
    }
}

bool WriteFileAtomically(const QString& path, const QByteArray& bytes, bool privateMode, QString* error) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    AtomicFile file(path, privateMode ? AtomicFile::Access::Private : AtomicFile::Access::Usual);
    if (!file.open(error))
        return false;
    if (file.device()->write(bytes) != bytes.size()) {
        if (error)
            *error = file.device()->errorString();
        return false;
    }
    return file.commit(error);
}

bool IsFolderWritable(const QString& folder) {
    QTemporaryFile probe(fncStripTrailingSlash(folder) + QStringLiteral("/.tlm-write-test-XXXXXX"));
    return probe.open();
}

}  // namespace tlm
