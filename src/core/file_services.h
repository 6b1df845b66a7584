#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

class QFile;
class QIODevice;

namespace tlm {

// Removes one trailing "/" or "\", and only one.
QString fncStripTrailingSlash(const QString& path);

// Folder numbers of the original: 5 the user's documents, 43 the shared program data.
QString fncGetSpecialFolder(int folderNumber);

// True when a new file can be made in the folder. Permission bits do not tell (shares, read-only
// mounts, root): a real temporary file is made and removed.
bool IsFolderWritable(const QString& folder);

// The one way this program writes a file: into a temporary file beside the target, renamed over it
// once whole, so a reader never sees half a file and a failure leaves the old one. An existing
// target keeps its mode; a new one gets the usual mode of new files (the umask applies, it is never
// changed), or 0600 when a secret is inside.
class AtomicFile {
  public:
    enum class Access { Usual, Private };
    explicit AtomicFile(QString target, Access access = Access::Usual);
    ~AtomicFile();  // removes the temporary file unless committed
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    bool open(QString* error = nullptr);
    // For libraries that write by name: they open this path and write it themselves.
    QString temporaryPath() const { return temporary_; }
    // For writing through Qt; valid between open and commit.
    QIODevice* device();
    // Flushes to the disk and puts the file in place; false (and the old file kept) on any failure.
    bool commit(QString* error = nullptr);
    void cancel();

  private:
    QString target_;
    Access access_;
    QString temporary_;
    std::unique_ptr<QFile> file_;
};

// A whole file from bytes, through AtomicFile.
bool WriteFileAtomically(const QString& path, const QByteArray& bytes, bool privateMode,
                         QString* error = nullptr);

}  // namespace tlm
