// What a data set costs by the number of its contents.
//
//   many_contents DIR COUNT

#include "Growth.h"

#include "PtCloudDataSet.h"

#include <QDir>

using namespace ptCloud;

namespace
{

/// A sound file of points without a block.
const QByteArray emptyFile("\1\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 20);

bool write(const QDir &directory, const QString &name)
{
    QFile file(directory.absoluteFilePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(emptyFile) == emptyFile.size();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "many_contents DIR COUNT\n");
        return 2;
    }
    const int count = QByteArray(argv[2]).toInt();
    const QDir root(QDir(QFile::decodeName(argv[1])).absoluteFilePath(QStringLiteral("contents")));
    const QDir directory(root.absoluteFilePath(QStringLiteral("site")));
    directory.mkpath(QStringLiteral("."));
    write(directory, QStringLiteral("Points"));
    for (int i = 0; i < count; ++i)
        write(directory, QStringLiteral("%1.mesh").arg(i));

    Growth growth(count);
    PtCloudDataSet dataSet;
    dataSet.setDir(root.path(), QStringLiteral("site"));
    growth.step("load", [&] { return dataSet.loadFromFile() && dataSet.getContent_Meshs()->size() == count; });
    growth.step("rename", [&] { return dataSet.rename(QStringLiteral("other")); });
    growth.step("add", [&] {
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("new%1").arg(i);
            dataSet.addContent_Mesh(name, dataSet.createEmptyLocatedContent_Mesh(name));
        }
        return dataSet.getContent_Meshs()->size() == 2 * count;
    });
    growth.step("remove", [&] {
        dataSet.removeContent_AllMesh();
        return dataSet.getContent_Meshs()->isEmpty();
    });
    QDir(root).removeRecursively();
    return 0;
}
