#include "DataSetCommandTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using namespace ptCloud;

namespace
{

/// What the commands do to a registry, in plain words.
class PlainRegistry
{
public:
    struct Entry
    {
        QString directory;
        quint32 points = 0;
    };

    EEPtCloudActResult make(const QString &name) { return create(name, 1, ActResult_MakeFailed); }
    EEPtCloudActResult copy(const QString &name, const QString &newName)
    {
        if (!m_entries.contains(name))
            return ActResult_NotFound;
        return create(newName, m_entries[name].points, ActResult_CannotRun);
    }
    EEPtCloudActResult merge(const QSet<QString> &sources, const QString &newName, bool removeSources)
    {
        quint32 points = 0;
        bool isKnown = true;
        for (const QString &name : sources) {
            isKnown = isKnown && m_entries.contains(name);
            points += m_entries.value(name).points;
        }
        if (clashes(newName))
            return ActResult_NameExists;
        if (!isKnown)
            return ActResult_NotFound;
        const EEPtCloudActResult result = create(newName, points, ActResult_FileError);
        for (const QString &name : sources) {
            if (result == ActResult_Success && removeSources)
                remove(name);
        }
        return result;
    }
    EEPtCloudActResult remove(const QString &name)
    {
        if (m_entries.remove(name) == 0)
            return ActResult_NotFound;
        m_signals << QStringLiteral("removed ") + name;
        return ActResult_Success;
    }
    EEPtCloudActResult rename(const QString &name, const QString &newName)
    {
        if (newName.trimmed() != newName || name == newName)
            return ActResult_BadName;
        for (auto it = m_entries.constFind(name); it != m_entries.cend(); ++it) {
            if (it.key().compare(newName, Qt::CaseInsensitive) == 0)
                return ActResult_BadName;
        }
        if (!m_entries.contains(name))
            return ActResult_NotFound;
        if (!isPlain(newName) || m_entries.contains(newName) || directories().contains(newName))
            return ActResult_FileError;
        m_entries[newName] = {newName, m_entries.take(name).points};
        m_signals << QStringLiteral("renamed %1 %2").arg(name, newName);
        return ActResult_Success;
    }

    QStringList directories() const
    {
        QStringList result;
        for (const Entry &entry : m_entries)
            result << entry.directory;
        std::sort(result.begin(), result.end());
        return result;
    }

    QMap<QString, Entry> m_entries;
    QStringList m_signals;

private:
    static bool isPlain(const QString &name)
    {
        return !name.isEmpty() && name != QStringLiteral("..") && !name.contains(QLatin1Char('/'));
    }
    bool clashes(const QString &name) const
    {
        return (m_entries.keys() + directories()).contains(name, Qt::CaseInsensitive);
    }
    EEPtCloudActResult create(const QString &name, quint32 points, EEPtCloudActResult unsafe)
    {
        if (clashes(name))
            return ActResult_NameExists;
        if (!isPlain(name))
            return unsafe;
        m_entries[name] = {name, points};
        m_signals << QStringLiteral("added ") + name;
        return ActResult_Success;
    }
};

class RandomCommands : public support::DataSetCommandTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        DataSetCommandTest::SetUp();
        // Directories beside the registry would be in the way of renaming, and are taken over by the others.
        ASSERT_TRUE(QDir(inProject("unregistered")).removeRecursively());
        m_plain.m_entries = {{QStringLiteral("abc"), {QStringLiteral("abc"), 10}},
                             {QStringLiteral("zed"), {QStringLiteral("zed"), 20}},
                             {QStringLiteral("x"), {QStringLiteral("dir"), 30}}};
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    QString anyName()
    {
        static const char *const names[] = {"abc", "ABC", "zed", "x", "dir", "DIR", "m",
                                            "M",   "new", " m",  "",  "..",  "m/n"};
        return QString::fromUtf8(names[below(sizeof names / sizeof *names)]);
    }
    /// Mostly a name that is registered.
    QString source()
    {
        const QStringList names = m_plain.m_entries.keys();
        return names.isEmpty() || below(5) == 0 ? anyName() : names[static_cast<int>(below(unsigned(names.size())))];
    }
    /// Runs one command in both.
    void step()
    {
        const QString name = source();
        const QString newName = anyName();
        SCOPED_TRACE(name.toStdString() + " to " + newName.toStdString());
        switch (below(8)) { // rarer than the others: what takes data sets away
        case 0:
        case 1:
            EXPECT_EQ(m_controller.doCmd_DataSet_Make(
                          {{QStringLiteral("a.las")}, {EDataSetColumn_Intensity, EDataSetColumn_Position}, newName}),
                      m_plain.make(newName));
            break;
        case 2:
        case 3:
            EXPECT_EQ(m_controller.doCmd_DataSet_Copy({name, newName}), m_plain.copy(name, newName));
            break;
        case 4: {
            const QSet<QString> sources{name, source()};
            const bool removeSources = below(2) == 0;
            EXPECT_EQ(m_controller.doCmd_DataSet_Merge({sources, newName, removeSources}),
                      m_plain.merge(sources, newName, removeSources));
            break;
        }
        case 5:
            EXPECT_EQ(m_controller.doCmd_DataSet_Remove({name}), m_plain.remove(name));
            break;
        default:
            EXPECT_EQ(m_controller.doCmd_DataSet_Rename({name, newName}), m_plain.rename(name, newName));
        }
    }
    void compare()
    {
        EXPECT_EQ(m_signals, m_plain.m_signals);
        const ProjectDirectories names = dataSetDirectories();
        ASSERT_EQ(names.keys(), m_plain.m_entries.keys());
        for (auto it = names.cbegin(); it != names.cend(); ++it) {
            const PlainRegistry::Entry expected = m_plain.m_entries[it.key()];
            EXPECT_EQ(*it, expected.directory);
            EXPECT_EQ(pointsOnDisk(*it), expected.points) << it->toStdString();
        }
        QStringList directories = QDir(project()).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
        std::sort(directories.begin(), directories.end());
        EXPECT_EQ(directories, m_plain.directories());
    }
    /// So that merging results with each other comes to an end.
    bool isLarge() const
    {
        quint32 points = 0;
        for (const PlainRegistry::Entry &entry : m_plain.m_entries)
            points += entry.points;
        return points > 100000;
    }

    PlainRegistry m_plain;
    std::mt19937 m_random{GetParam()};

private:
    using ProjectDirectories = QMap<QString, QString>;

    ProjectDirectories dataSetDirectories() const
    {
        ProjectDirectories names;
        m_controller.getDataSetFileNames(names);
        return names;
    }
    quint32 pointsOnDisk(const QString &directory) const
    {
        const auto file =
            support::BlockFile::parse(support::readFile(inProject(directory + QStringLiteral("/Points"))));
        quint32 points = 0;
        if (file) {
            for (const auto &block : file->blocks)
                points += block.points;
        }
        return points;
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Seeds, RandomCommands, ::testing::Range(1U, 9U));

TEST_P(RandomCommands, AgreeWithAPlainRegistry)
{
    const bool caseMatters = !QFileInfo::exists(inProject("ABC"));
    for (int count = 0; count < 150 && caseMatters && !isLarge() && !HasFailure(); ++count) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(count));
        step();
        compare();
    }
    EXPECT_EQ(m_signals.isEmpty(), !caseMatters);
}
