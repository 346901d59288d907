#pragma once

#include "ProjectSession.h"

#include "PtCloud_DataSetFile.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

/// Which file of a data set: its points, unless another is chosen.
struct ContentChoice
{
    std::string mesh;
    std::string split;
    bool isTerrain = false; ///< the mesh of the terrain
};

void addContentOptions(CLI::App &command, ContentChoice &choice);
/// Throws `CommandError` if the data set has no such content.
ptCloud::PtCloud_DataSetFile &chooseContent(const QString &name, const ptCloud::PtCloudDataSet &dataSet,
                                            const ContentChoice &choice);

/// Where a command gets its points from: a data set of a project, or a data set file.
struct SourceOptions
{
    std::string name; ///< a registered name, or a path
    ContentChoice content;
    ProjectOptions project;
};

/// An open source. Throws `CommandError` where it can't be opened.
class DataSetSource
{
public:
    /// A data set file.
    explicit DataSetSource(const QString &path);
    /// A data set of the project. A path that is a file counts as one, unless a project was named.
    DataSetSource(const Console &console, const SourceOptions &options);
    ~DataSetSource();
    DataSetSource(const DataSetSource &) = delete;
    DataSetSource &operator=(const DataSetSource &) = delete;

    ptCloud::PtCloud_DataSetFile &file() const { return *m_file; }
    /// Throws if a file to write stands in the project, where all files are the project's own.
    void refuseToOverwrite(const QString &target) const;
    /// The data set of a project; null for a file.
    ptCloud::PtCloudDataSet *dataSet() const { return m_dataSet; }

private:
    void openFile(const QString &path);

    std::unique_ptr<ProjectSession> m_session;
    ptCloud::PtCloudDataSet *m_dataSet = nullptr;
    ptCloud::PtCloud_DataSetFile m_ownFile;
    ptCloud::PtCloud_DataSetFile *m_file = nullptr;
};
