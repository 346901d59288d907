#include "LasBuildTesting.h"

#include <QDir>

namespace
{

/// LAS files that other programs wrote. They lie beside the checkout or they don't.
class LasBuildRealFiles : public LasBuildTest
{
protected:
    static QStringList paths()
    {
        const QDir directory(QStringLiteral(POINTS_CLOUD_TEST_DATA_DIR));
        QStringList found;
        for (const QString &name : directory.entryList({QStringLiteral("*.las")}, QDir::Files, QDir::Name))
            found << directory.filePath(name);
        return found;
    }

    /// Appends the file to the builder's list, if it is one that loads.
    bool addIfItLoads(const QString &lasPath, unsigned int step)
    {
        auto las = std::make_unique<ptCloud::LasFile>();
        if (!las->load(lasPath, step))
            return false;
        m_list.append(las.get());
        m_inputs.push_back({support::readFile(lasPath), std::move(las)});
        return true;
    }

    static std::vector<quint32> columnsOf(const ptCloud::LasFile &las)
    {
        QList<ptCloud::EDataSetColumn> list;
        las.getColumns(list);
        std::vector<quint32> columns;
        for (const ptCloud::EDataSetColumn column : list)
            columns.push_back(static_cast<quint32>(column));
        return columns;
    }

    void expectEachBuildsAsPlain(unsigned int step)
    {
        for (const QString &lasPath : paths()) {
            SCOPED_TRACE(lasPath.toStdString());
            m_inputs.clear();
            m_list.clear();
            if (addIfItLoads(lasPath, step))
                expectBuildsAsPlain(columnsOf(*m_inputs.back().las));
        }
    }
};

TEST_F(LasBuildRealFiles, EqualThePlainBuildInOneStep)
{
    expectEachBuildsAsPlain(1000000);
}

TEST_F(LasBuildRealFiles, EqualThePlainBuildInManySteps)
{
    expectEachBuildsAsPlain(4099);
}

TEST_F(LasBuildRealFiles, EqualThePlainBuildAllTogether)
{
    for (const QString &lasPath : paths())
        addIfItLoads(lasPath, 10000);
    if (m_list.isEmpty()) {
        EXPECT_TRUE(m_inputs.empty());
        return;
    }
    // The grid is that of the last file: try several.
    for (int turn = 0; turn < std::min(4, static_cast<int>(m_list.size())); ++turn) {
        expectBuildsAsPlain({0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13});
        m_list.append(m_list.takeFirst());
    }
}

TEST_F(LasBuildRealFiles, HoldEveryPointOfATownOnce)
{
    for (const QString &lasPath : paths()) {
        if (lasPath.endsWith(QLatin1String("autzen_trim.las"))) {
            ASSERT_TRUE(addIfItLoads(lasPath, 10000));
        }
    }
    quint32 points = 0;
    if (!m_list.isEmpty() && build()) {
        const support::BlockFile file = built();
        for (const support::BlockFile::Block &block : file.blocks)
            points += block.points;
    }
    EXPECT_EQ(points, m_list.isEmpty() ? 0U : 110000U);
}

} // namespace
