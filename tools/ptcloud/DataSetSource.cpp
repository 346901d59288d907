#include "DataSetSource.h"

#include "FileFacts.h"

#include "PtCloudDataSet.h"

#include <QFileInfo>

using namespace ptCloud;

void addContentOptions(CLI::App &command, ContentChoice &choice)
{
    CLI::Option *const mesh = command.add_option("--mesh", choice.mesh, "Of this mesh of the data set");
    CLI::Option *const split =
        command.add_option("--split", choice.split, "Of this split of the data set")->excludes(mesh);
    command.add_flag("--terrain", choice.isTerrain, "Of the data set's terrain mesh")->excludes(mesh)->excludes(split);
}

PtCloud_DataSetFile &chooseContent(const QString &name, const PtCloudDataSet &dataSet, const ContentChoice &choice)
{
    PtCloud_DataSetFile *file = dataSet.getContent_PointDataSetFile();
    QString wanted = QStringLiteral("points");
    if (!choice.mesh.empty()) {
        wanted = QStringLiteral("mesh %1").arg(quoted(argument(choice.mesh)));
        file = dataSet.getContent_Meshs()->value(argument(choice.mesh));
    } else if (!choice.split.empty()) {
        wanted = QStringLiteral("split %1").arg(quoted(argument(choice.split)));
        file = dataSet.getContent_Splits()->value(argument(choice.split));
    } else if (choice.isTerrain) {
        wanted = QStringLiteral("terrain mesh");
        file = dataSet.getContent_Dem_Mesh();
    }
    if (file == nullptr || file->getFilepath().isEmpty())
        throw CommandError(QStringLiteral("data set %1 has no %2").arg(quoted(name), wanted),
                           QStringLiteral("ActResult_NotFound"));
    return *file;
}

DataSetSource::DataSetSource(const QString &path)
{
    openFile(path);
}

DataSetSource::DataSetSource(const Console &console, const SourceOptions &options)
{
    const QString name = argument(options.name);
    if (!options.project.isGiven && QFileInfo(name).isFile()) {
        const ContentChoice &content = options.content;
        if (!content.mesh.empty() || !content.split.empty() || content.isTerrain)
            throw CommandError(
                QStringLiteral("%1 is a file: a content can be chosen of a data set of the project alone")
                    .arg(quoted(name)));
        openFile(name);
        return;
    }
    m_session = std::make_unique<ProjectSession>(console, options.project, ProjectSession::Look);
    m_dataSet = &m_session->dataSet(name);
    m_file = &chooseContent(name, *m_dataSet, options.content);
    if (!m_file->openFile())
        throw CommandError(QStringLiteral("%1 can't be read").arg(quoted(m_file->getFilepath())));
}

DataSetSource::~DataSetSource()
{
    if (m_file != nullptr)
        m_file->closeFile();
}

void DataSetSource::refuseToOverwrite(const QString &target) const
{
    const QString path = realPath(target);
    const QString project = m_session == nullptr ? QString() : realPath(m_session->dir());
    if (!path.isEmpty() && !project.isEmpty() && path.startsWith(project + QLatin1Char('/')))
        throw CommandError(QStringLiteral("%1 belongs to the project and would be overwritten; name another target")
                               .arg(quoted(target)));
}

void DataSetSource::openFile(const QString &path)
{
    m_ownFile.setFile(path);
    if (!m_ownFile.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file").arg(quoted(path)));
    m_file = &m_ownFile;
}
