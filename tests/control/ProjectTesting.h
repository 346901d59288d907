#pragma once

#include "ControllerTesting.h"
#include "DataSetDirectory.h"
#include "ProjectFile.h"

#include "PtCloud_Project.h"

#include <gtest/gtest.h>

namespace support
{

using Names = QMap<QString, QString>;

/// Both registries of a project.
struct Registries
{
    Names lasFiles;
    Names dataSets;
};

inline Registries registriesOf(ptCloud::PtCloud_Project &project)
{
    Registries result;
    project.getController()->getLasFilepaths(result.lasFiles);
    project.getController()->getDataSetFileNames(result.dataSets);
    return result;
}

/// A project directory with the data set directories abc and zed, below a directory with two LAS files and a canary.
class ProjectTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        makeDirectory(directory() + QStringLiteral("/abc"), {{QStringLiteral("Points"), points(3)}});
        makeDirectory(directory() + QStringLiteral("/zed"), {{QStringLiteral("Points"), points(5)}});
        LasWriter writer;
        writer.points.emplace_back();
        ASSERT_TRUE(writer.write(las("a.las")));
        ASSERT_TRUE(writer.write(las("b.las")));
        ASSERT_TRUE(writeFile(m_root.filePath(QStringLiteral("canary")), "sings"));
    }

    static QByteArray points(quint8 seed) { return pointsBytes(seed); }
    QString directory() const { return m_root.filePath(QStringLiteral("project")); }
    QString inProject(const char *name) const { return directory() + QLatin1Char('/') + QString::fromUtf8(name); }
    QString las(const char *name) const { return m_root.filePath(QString::fromUtf8(name)); }
    QString file() const { return inProject("points_cloud.pcproj"); }

    /// A file that names all that there is.
    ProjectFile full() const
    {
        ProjectFile contents;
        contents.lasFiles = {{QStringLiteral("a.las"), las("a.las")}, {QStringLiteral("second"), las("b.las")}};
        contents.dataSets = {{QStringLiteral("abc"), QStringLiteral("abc")},
                             {QStringLiteral("last"), QStringLiteral("zed")}};
        return contents;
    }
    bool load(const QByteArray &bytes)
    {
        return writeFile(file(), bytes) && m_project.loadProject(directory(), nullptr);
    }
    bool load(const ProjectFile &contents) { return load(contents.bytes()); }

    void expectRegistries(const Names &lasFiles, const Names &dataSets)
    {
        const Registries now = registriesOf(m_project);
        EXPECT_EQ(now.lasFiles, lasFiles);
        EXPECT_EQ(now.dataSets, dataSets);
    }
    Names allLasFiles() const
    {
        return {{QStringLiteral("a.las"), las("a.las")}, {QStringLiteral("second"), las("b.las")}};
    }
    Names allDataSets() const
    {
        return {{QStringLiteral("abc"), QStringLiteral("abc")}, {QStringLiteral("last"), QStringLiteral("zed")}};
    }
    /// What a restore keeps of what a file names.
    void expectRestored(const ProjectFileContents &contents)
    {
        Names lasFiles;
        for (auto it = contents.lasFiles.cbegin(); it != contents.lasFiles.cend(); ++it) {
            if (QFileInfo(*it).isFile())
                lasFiles[it.key()] = *it;
        }
        Names dataSets;
        for (auto it = contents.dataSets.cbegin(); it != contents.dataSets.cend(); ++it) {
            if (*it == QStringLiteral("abc") || *it == QStringLiteral("zed"))
                dataSets[it.key()] = *it;
        }
        expectRegistries(lasFiles, dataSets);
    }

    QTemporaryDir m_root;
    DebugLog m_log;
    ptCloud::PtCloud_Project m_project;
};

} // namespace support
