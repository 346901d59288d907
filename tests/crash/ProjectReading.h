#pragma once

#include "ProjectModel.h"

#include "PtCloudDataSet.h"

namespace crash
{

/// What lies on disk, read without the library. Registries stay empty.
Project readProject(const QString &directory);

/// What a data set shows its host: the points of its files as they lie there, the contours and the volumes as their
/// numbers.
using Showing = QMap<QString, QByteArray>;

/// Through the public interface. Opens and closes each content.
Showing showingOf(const ptCloud::PtCloudDataSet &dataSet);
/// Told from the files of its directory, without the library.
Showing showingOf(const Files &directory);

} // namespace crash
