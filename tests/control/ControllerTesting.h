#pragma once

#include "BlockFile.h"
#include "Bytes.h"
#include "LasWriter.h"

#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

namespace support
{

/// Makes a LAS file tell of more variable length headers than a small memory holds. They lie in a hole.
inline bool announceManyLasHeads(const QString &path)
{
    constexpr quint32 heads = 4000000;
    QByteArray bytes = readFile(path);
    putAt(bytes, 100, heads);
    return writeFile(path, bytes) && QFile::resize(path, 227 + heads * 54LL + 1000);
}

/// A controller over an empty project directory, with every signal that it emits in one ordered list.
class ControllerTest : public ::testing::Test
{
protected:
    ControllerTest()
    {
        using ptCloud::PtCloud_Controller;
        const auto note = [this](const char *signal) {
            return
                [this, signal](const QString &name) { m_signals << QLatin1String(signal) + QLatin1Char(' ') + name; };
        };
        QObject::connect(&m_controller, &PtCloud_Controller::sg_LasFile_Added, note("las added"));
        QObject::connect(&m_controller, &PtCloud_Controller::sg_LasFile_Removed, note("las removed"));
        QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added, note("added"));
        QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Removed, note("removed"));
        QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Renamed,
                         [this](const QString &from, const QString &to) {
                             m_signals << QStringLiteral("renamed %1 %2").arg(from, to);
                         });
        QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSetFunction_Progress,
                         [this] { m_signals << QStringLiteral("progress"); });
        QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSetFunction_Result,
                         [this] { m_signals << QStringLiteral("result"); });
    }

    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString path(const char *name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    /// A sound LAS file of one point; `name` may hold directories.
    QString lasFile(const char *name, quint8 format = 3) const
    {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path(name)).absolutePath()));
        LasWriter writer;
        writer.format = format;
        writer.points = {LasPoint()};
        EXPECT_TRUE(writer.write(path(name)));
        return path(name);
    }

    /// A directory in the project with a sound file of points, and nothing else.
    void dataSetDirectory(const QString &name, quint32 points = 3) const
    {
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(name));
        BlockFile file;
        file.columns = {0};
        file.blocks = {file.makeBlock(1, points)};
        ASSERT_TRUE(writeFile(m_dir.filePath(name + QStringLiteral("/Points")), file.bytes()));
    }

    ptCloud::EEPtCloudActResult import(const QString &path, QString *name = nullptr)
    {
        return m_controller.doCmd_LasFile_Import({path}, name);
    }
    QMap<QString, QString> lasFiles() const
    {
        QMap<QString, QString> files;
        m_controller.getLasFilepaths(files);
        return files;
    }

    QTemporaryDir m_dir;
    ptCloud::PtCloud_Controller m_controller;
    QStringList m_signals;
};

} // namespace support
