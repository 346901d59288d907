// A data set file built from a LAS file, with the columns that the input chooses.

#include "Choices.h"
#include "Driver.h"
#include "LasSeeds.h"

#include "Bytes.h"
#include "LasFile.h"
#include "LasWriter.h"
#include "PtCloud_DataSetFile.h"

using namespace ptCloud;
using fuzz::check;

namespace
{

QList<EDataSetColumn> chooseColumns(fuzz::Choices &choices)
{
    QList<EDataSetColumn> columns = {EDataSetColumn_Position};
    const quint32 chosen = choices.word();
    for (quint32 column = EDataSetColumn_Color; column <= EDataSetColumn_WaveformXyzT; ++column) {
        if ((chosen >> column & 1U) == 0)
            columns.append(static_cast<EDataSetColumn>(column));
    }
    return columns;
}

void checkBuilt(PtCloud_DataSetFile &built, const QList<EDataSetColumn> &columns, qint64 mostPoints)
{
    check(built.openFile(), "what was built can be opened");
    check(built.getColumns() == columns, "with the columns that were asked for");
    qint64 points = 0;
    const auto infos = built.getBlockInfos();
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        points += std::get<1>(*it);
        const stPtCloud_PointArray *block = built.readBlock(it.key());
        check(block != nullptr && block->m_pointCount == std::get<1>(*it), "every block can be read");
        check(block->m_pointCount != 0, "no block is empty");
        for (unsigned int i = 0; i < block->m_pointCount; ++i)
            check(block->m_pointIndices[i] <= static_cast<quint64>(mostPoints) && block->m_pointMarks[i] == 0,
                  "indices count records, and nothing is marked");
    }
    check(points <= mostPoints, "no point stands twice");
    built.closeFile();
}

bool build(const LasFile &las, const QList<EDataSetColumn> &columns, qint64 mostPoints, QByteArray &bytes)
{
    PtCloud_DataSetFile built;
    built.setFile(fuzz::scratchDirectory() + QStringLiteral("/built"));
    const bool isBuilt = built.makeDataSet_byLasFile({&las}, columns);
    check(!built.isOpened(), "a builder leaves the file closed");
    if (isBuilt)
        checkBuilt(built, columns, mostPoints);
    bytes = support::readFile(built.getFilepath());
    return isBuilt;
}

bool run(const QByteArray &input)
{
    const QString path = fuzz::scratchFile(QStringLiteral("input.las"), input);
    fuzz::Choices choices(input);
    LasFile las;
    if (!las.load(path, 256U - choices.byte()))
        return false;
    const QList<EDataSetColumn> columns = chooseColumns(choices);
    const qint64 mostPoints = input.size() / support::LasWriter::recordSize(las.getFormat());
    QByteArray first;
    QByteArray second;
    const bool isBuilt = build(las, columns, mostPoints, first);
    check(build(las, columns, mostPoints, second) == isBuilt && (!isBuilt || first == second),
          "a second build yields the same");
    check(support::readFile(path) == input, "building leaves the LAS file as it is");
    return isBuilt;
}

const fuzz::Driver driver("LasBuild", run, fuzz::lasSeeds);

} // namespace
