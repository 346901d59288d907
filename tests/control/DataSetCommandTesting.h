#pragma once

#include "ControllerTesting.h"
#include "DataSetDirectory.h"

#include <QPointer>

#include <ostream>

namespace support
{

/// All that a failed command leaves as it was.
struct ProjectState
{
    DiskState disk;
    QMap<QString, QString> lasFiles;
    QMap<QString, QString> dataSetDirectories;
    QMap<QString, const ptCloud::PtCloudDataSet *> dataSets;
};

/// A project with the data sets abc, zed and, in the directory `dir`, x; a LAS file a.las outside of it; and things
/// around it that no command may touch.
class DataSetCommandTest : public ControllerTest
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        makeDirectory(inProject("abc"), fullDataSet());
        makeDirectory(inProject("zed"), {{QStringLiteral("Points"), pointsBytes(20)}});
        makeDirectory(inProject("dir"), {{QStringLiteral("Points"), pointsBytes(30)}});
        m_controller.setDir(project());
        m_controller.setFiles({{QStringLiteral("a.las"), lasFile("las/a.las")}},
                              {{QStringLiteral("abc"), QStringLiteral("abc")},
                               {QStringLiteral("zed"), QStringLiteral("zed")},
                               {QStringLiteral("x"), QStringLiteral("dir")}},
                              {});
        ASSERT_EQ(m_controller.getDataSets().size(), 3);
        for (const QString &place : {m_dir.path(), path("outer"), project(), path("victim"), inProject("abc/nested"),
                                     inProject("unregistered")}) {
            makeDirectory(place, {{QStringLiteral("canary"), "sings"}, {QStringLiteral("stray.mesh"), meshBytes(3)}});
        }
    }

    /// Two levels down, so that a name that climbs twice is still in the test's own directory.
    QString project() const { return path("outer/project"); }
    QString inProject(const QString &name) const { return project() + QLatin1Char('/') + name; }
    QString inProject(const char *name) const { return inProject(QString::fromUtf8(name)); }

    /// Registers a further data set whose points are these.
    void addDataSet(const char *name, const QByteArray &points)
    {
        makeDirectory(inProject(name), {{QStringLiteral("Points"), points}});
        QMap<QString, QString> names;
        m_controller.getDataSetFileNames(names);
        names[QString::fromUtf8(name)] = QString::fromUtf8(name);
        m_controller.setFiles(lasFiles(), names, {QStringLiteral("canary"), QStringLiteral("stray.mesh")});
        ASSERT_NE(dataSet(name), nullptr);
    }
    ptCloud::PtCloudDataSet *dataSet(const char *name) { return m_controller.getDataSet(QString::fromUtf8(name)); }

    ProjectState state()
    {
        ProjectState result{diskState(m_dir.path()), lasFiles(), {}, m_controller.getDataSets()};
        m_controller.getDataSetFileNames(result.dataSetDirectories);
        return result;
    }
    void expectRegistries(const ProjectState &expected)
    {
        const ProjectState now = state();
        EXPECT_EQ(now.lasFiles, expected.lasFiles);
        EXPECT_EQ(now.dataSetDirectories, expected.dataSetDirectories);
        EXPECT_EQ(now.dataSets, expected.dataSets);
    }
    /// Expects that nothing was changed and nothing told.
    void expectUnchanged(const ProjectState &before)
    {
        EXPECT_TRUE(sameDisk(diskState(m_dir.path()), before.disk));
        expectRegistries(before);
        EXPECT_EQ(m_signals, QStringList());
    }
    /// Runs a command that fails with `result` and leaves no trace.
    template <typename Command>
    void expectRefused(ptCloud::EEPtCloudActResult result, Command command)
    {
        const ProjectState before = state();
        EXPECT_EQ(command(), result);
        expectUnchanged(before);
    }

    /// What the disk holds once `directory` of the project is gone.
    DiskState without(DiskState disk, const char *directory) const
    {
        const QString root = QDir(m_dir.path()).relativeFilePath(inProject(directory));
        for (const QString &entry : disk.keys()) {
            if (entry == root || entry.startsWith(root + QLatin1Char('/')))
                disk.remove(entry);
        }
        return disk;
    }
    /// What the disk holds with these files in `directory` of the project besides.
    DiskState with(DiskState disk, const char *directory, const DiskState &files) const
    {
        const QString root = QDir(m_dir.path()).relativeFilePath(inProject(directory));
        disk[root] = "directory";
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            disk[root + QLatin1Char('/') + it.key()] = *it;
        return disk;
    }

    DebugLog m_log;
};

/// A name that is no plain name. `%1` stands for the absolute path of the test's directory.
struct HostileName
{
    const char *name;
    QString text;
};

inline void PrintTo(const HostileName &hostile, std::ostream *out)
{
    *out << hostile.name;
}

inline std::vector<HostileName> hostileNames()
{
    return {{"Empty", QStringLiteral("")},
            {"Dot", QStringLiteral(".")},
            {"Parent", QStringLiteral("..")},
            {"GrandParent", QStringLiteral("../..")},
            {"BesideTheProject", QStringLiteral("../new")},
            {"Victim", QStringLiteral("../../victim")},
            {"Absolute", QStringLiteral("%1/victim")},
            {"InADataSet", QStringLiteral("abc/nested")},
            {"NewInADataSet", QStringLiteral("zed/new")},
            {"WithASlash", QStringLiteral("unregistered/")},
            {"ByADetour", QStringLiteral("abc/../unregistered")},
            {"Resource", QStringLiteral(":unregistered")},
            {"NulAtTheEnd", QStringLiteral("unregistered") + QChar(0)},
            {"NulWithin", QStringLiteral("un") + QChar(0) + QStringLiteral("registered")}};
}

} // namespace support
