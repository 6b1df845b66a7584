#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVariant>
#include <vector>

namespace tlm {

// The rows of one generated report, kept for the page and the exports: the cells of every column
// the page or an export shows, row after row, as the cursor gave them.
//
// A QVariant per cell costs some 70 bytes for a short text, so a million rows would need half a
// gigabyte. The cells are packed instead, a block of rows at a time; once the packed rows pass a
// limit, each full block is compressed as well. Read them back through a Reader.
class ReportRows {
  public:
    static constexpr qint64 kRowsPerBlock = 1024;
    static constexpr qsizetype kDefaultRawLimit = qsizetype(8) << 20;

    // rawLimit: how many bytes of uncompressed blocks are kept before full blocks are compressed.
    explicit ReportRows(QStringList columns, qsizetype rawLimit = kDefaultRawLimit);

    const QStringList& Columns() const { return columns_; }
    int ColumnOf(const QString& column) const { return int(columns_.indexOf(column)); }
    qint64 Count() const { return count_; }
    // Bytes the kept rows take, for the curious (tests, benchmarks).
    qsizetype HeldBytes() const;

    // The next cell of the row being added; CountRow ends the row. A row has one cell per column.
    void Append(const QVariant& value);
    void CountRow();

    // Reads cells back; each reader keeps the block it is on, so sequential reads cost little.
    // A reader must not outlive its rows.
    class Reader {
      public:
        explicit Reader(const ReportRows& rows) : rows_(rows) {}
        // A cell of row (0 .. Count()-1); the reference holds until the next call for another row.
        const QVariant& At(qint64 row, int column);

      private:
        void Seek(qint64 row);
        const ReportRows& rows_;
        qint64 block_ = -1;
        QByteArray plain_;  // the current block, uncompressed
        qsizetype pos_ = 0;
        qint64 row_ = -1;  // the row in cells_, or -1
        qint64 next_ = 0;  // the row that starts at pos_
        std::vector<QVariant> cells_;
    };

  private:
    struct Block {
        QByteArray bytes;
        bool compressed = false;
    };
    void CloseBlock();

    QStringList columns_;
    qsizetype rawLimit_;
    qsizetype rawHeld_ = 0;
    std::vector<Block> blocks_;
    QByteArray open_;  // the block being filled
    qint64 count_ = 0;
};

}  // namespace tlm
