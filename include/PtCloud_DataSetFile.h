#pragma once

#include "IDataSetReader.h"

#include <QFile>
#include <QList>
#include <QMap>
#include <QString>

#include <list>
#include <memory>
#include <tuple>

namespace ptCloud
{

class ArrayClassifier;
class LasFile;

/// The disk form of a data set: one file with a head, a list of columns and blocks of points, each stored column by
/// column. `docs/formats.md` tells every byte.
///
///     PtCloud_DataSetFile file;
///     file.setFile(path);
///     if (!file.makeDataSet_byLasFile({&las}, {EDataSetColumn_Position, EDataSetColumn_Color}))
///         return false;         // what was written stays on disk
///     file.openFile();          // a builder leaves the object closed
///     const stPtCloud_PointArray *block = file.readBlock(1);
///
/// The object is closed (no file, sort 0, no columns, no blocks) or open for reading; a builder opens, writes and
/// always leaves it closed. Every block is read into one buffer of the object, made by `openFile` for the largest
/// block, so that `readBlock` allocates nothing. A file that fails any check is refused whole, and so is one whose
/// builder was killed. One thread at a time.
class POINTS_CLOUD_EXPORT PtCloud_DataSetFile : public IDataSetReader
{
public:
    PtCloud_DataSetFile() = default;
    ~PtCloud_DataSetFile() override;

    /// Closes, then takes `path`. False, with the old path kept, if something other than a regular file stands there; a
    /// path where nothing stands yet is taken, and so is the empty one.
    bool setFile(const QString &path);
    QString getFilepath() const { return m_filepath; }
    bool isOpened() const { return m_file != nullptr; }
    /// Whether the path names an existing file.
    bool isValid() const;
    /// Closes, then removes the file from disk.
    void removeFile();

    void getBlocks(QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> &blocks) const override;
    /// Null also where the block's counts on disk have grown beyond the buffer since `openFile`. After a failure the
    /// buffer is partly overwritten, and the next successful read restores it.
    const stPtCloud_PointArray *readBlock(int key) override;
    /// Reads and checks the head and makes the buffer. An object that is open stays as it is, and the answer is true.
    bool openFile() override;
    void closeFile() override;
    EDataSetSort getSortType() override { return m_sortType; }
    EDataSetType getDataSetType() override { return EDataSetType_File; }

    /// The columns in stored order; empty while closed.
    const QList<EDataSetColumn> &getColumns() const { return m_columns; }
    /// File offset of the data, point count and box of each block.
    QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>> getBlockInfos() const;

    /// Builds the file from loaded LAS files of version 1.2 or 1.3, with the given columns (0 among them, 1 and 2 not).
    ///
    /// The grid of cubic boxes is laid over the header's range of the last file of the list: points of the others that
    /// lie outside are dropped. Positions are the raw integers in thousandths, whatever the header's scale and offset.
    /// Files are walked in the order of their addresses. True only when every byte has reached the file; after a
    /// failure the partial file stays on disk.
    bool makeDataSet_byLasFile(const QList<const LasFile *> &lasFiles, const QList<EDataSetColumn> &columns);

    // Builders from memory and from other files. Like the one above they empty the file first, answer true only when
    // every byte has reached it, and leave the object closed and, after a failure, a partial file on disk. An array
    // with points but without positions, indices or marks is a failure, and so is a null entry.

    /// Builds the file from one array, with all of its columns.
    ///
    /// The grid of boxes is laid over its positions, edges 1000 units or more; points without a finite position are
    /// dropped. An array with triangles becomes one block, so that the mesh stays whole.
    bool makeDataSet_byPointsArray(const stPtCloud_PointArray &array);

    /// Builds the file from several arrays, each with a grid of its own; the columns are those of the first. The arrays
    /// must not overlap in space: where their grids do, blocks hold wrong points. Triangles are not taken, and a first
    /// array that has some is a failure. An array without points counts as not in the list.
    bool makeDataSet_byPointsArray(QList<const stPtCloud_PointArray *> arrays);

    /// Builds the file from several arrays, each as one block, with the columns that all of them have. Keys count from
    /// 0. Their indices and marks are written over, in spite of the `const`: 0, 1, 2 ... and no mark. Arrays with
    /// triangles do not belong here. An array without points counts as not in the list.
    bool makeDataSet_bySplittedPointsArray(const std::list<const stPtCloud_PointArray *> &arrays);

    /// Builds the file from blocks as they are, under their keys. Indices and marks of the arrays are written over, as
    /// above. A listed column that an array lacks is a failure.
    bool makeDataSet_byMemory(EDataSetSort sort, const QList<EDataSetColumn> &columns,
                              const QMap<int, std::tuple<pcBoundingBoxf, const stPtCloud_PointArray *>> &blocks);

    /// Merges whole files: all their blocks, with the columns that they have in common, and indices that run through
    /// the merged file. The keys of each file follow on the largest key before; in files whose keys start at 0 this
    /// loses a block at each seam. The sources are opened and stay open. A target that is one of the sources, by
    /// whatever path, is refused and not touched. After a source that can't be opened the target stays open.
    bool makeDataSet_byDataSetFiles(const QList<PtCloud_DataSetFile *> &files);

private:
    struct stBlockInfo
    {
        qint64 offset = 0; ///< of the block's data, 28 bytes behind the start of its record
        unsigned int pointCount = 0;
        pcBoundingBoxf box;
        unsigned int triangleCount = 0;
    };

    friend class PtCloudDataSet;

    /// What a look at a file's head tells. Only a file that was read and failed a check is corrupt.
    enum class EHead { Sound, Corrupt, Unreadable };
    EHead checkHead();
    EHead lookAtHead();

    /// Where a block of a merged file comes from.
    struct stMergeSource
    {
        PtCloud_DataSetFile *file = nullptr;
        int key = 0;
    };

    bool open(bool forWriting);
    bool readHead();
    bool writeHead();
    bool writeFormatWord();
    bool readToBufBlock(int key);
    bool writeBufBlock(const stPtCloud_PointArray *array);
    bool reallocBufMems(unsigned int points, bool withTriangles, unsigned int triangles);
    void freeBufMems();
    qint64 getBlockDataSize(const QList<EDataSetColumn> &columns, unsigned int points, unsigned int triangles,
                            bool *ok) const;
    qint64 getBlockDataSize(const QList<EDataSetColumn> &columns, QFile *file, bool *ok, unsigned int *points,
                            unsigned int *triangles) const;
    static int _CalcMipMapBoxSize(int minX, int maxX, int minY, int maxY, int minZ, int maxZ);

    bool readColumnList();
    bool readBlockList();
    bool readBytes(void *bytes, qint64 count);
    bool writeBytes(const void *bytes, qint64 count);
    bool writeBlockAt(int key, const stPtCloud_PointArray &array);

    template <typename Build>
    bool buildFile(Build build);
    template <typename Build>
    bool finishFile(Build build);
    bool buildByLasFile(const QList<const LasFile *> &lasFiles, const QList<EDataSetColumn> &columns);
    bool buildByGrids(ArrayClassifier &classifier, const QList<const stPtCloud_PointArray *> &arrays, EDataSetSort sort,
                      unsigned int triangles);
    bool writeBorrowed(int key, const stPtCloud_PointArray &array);
    bool planMerge(const QList<PtCloud_DataSetFile *> &files, QMap<int, stMergeSource> &sources);
    bool buildByDataSetFiles(const QMap<int, stMergeSource> &sources);

    QString m_filepath;
    std::unique_ptr<QFile> m_file; ///< null while closed
    EDataSetSort m_sortType = EDataSetSort_None;
    QList<EDataSetColumn> m_columns;
    QMap<int, stBlockInfo> m_blocks;
    stPtCloud_PointArray m_buffer;
    unsigned int m_bufferPoints = 0;    ///< points that fit the buffer
    unsigned int m_bufferTriangles = 0; ///< triangles that fit the buffer
    bool m_lacksTriangles = false;      ///< the column is listed, and no block has any: none can be read
};

} // namespace ptCloud
