#include "FunctionConfig.h"

#include "Bytes.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <ostream>

using namespace ptCloud;

namespace
{

/// A function with elements for each of its keys, and the lines that they become in the file.
struct Row
{
    const char *name;
    int function;
    const char *logName;
    QVariantList elements;
    QMap<QString, QString> lines;
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

QMap<QString, QString> lines(std::initializer_list<std::pair<const char *, const char *>> pairs)
{
    QMap<QString, QString> result;
    for (const auto &pair : pairs)
        result.insert(text(pair.first), text(pair.second));
    return result;
}

// Fractions show which keys are whole numbers: they are rounded.
std::vector<Row> rows()
{
    return {
        {"mesh_alpha", 0, "mesh_alpha", {true, 2.5}, lines({{"fastNormal", "true"}, {"alpha", "2.5"}})},
        {"mesh_ball_pivoting",
         1,
         "mesh_ball_pivoting",
         {false, 0.75},
         lines({{"fastNormal", "false"}, {"radius", "0.75"}})},
        {"mesh_poisson",
         2,
         "mesh_poisson",
         {true, 8.6, 1.25, 0.01},
         lines({{"fastNormal", "true"}, {"depth", "9"}, {"width", "1.25"}, {"desity_divide", "0.01"}})},
        {"dem",
         3,
         "",
         {text("/d/mesh"), text("/d/height"), 1024.4, text("/d/contour"), 3000000000U, text("/d/classify")},
         lines({{"meshAbsFilepath", "/d/mesh"},
                {"heightMapAbsFilepath", "/d/height"},
                {"largePixels", "1024"},
                {"contourAbsFilepath", "/d/contour"},
                {"contourPeace", "3000000000"},
                {"treeClassifyAbsFilepath", "/d/classify"}})},
        {"split_dbscan",
         100,
         "split_dbscan",
         {0.125, 10.6, true},
         lines({{"epsilon", "0.125"}, {"minpts", "11"}, {"retainNoise", "true"}})},
        {"split_kmeans", 101, "split_kmeans", {99.6, -3}, lines({{"maxIteration", "100"}, {"clusterNum", "-3"}})},
        {"split_kmeans_extra",
         102,
         "split_kmeans_extra",
         {7, 4.4},
         lines({{"maxIteration", "7"}, {"clusterNum", "4"}})},
        {"split_euclidean",
         103,
         "split_euclidean",
         {2.5, 9.6, 10.4},
         lines({{"tolerance", "2.5"}, {"minCluster", "10"}, {"maxCluster", "10"}})},
        {"split_euclidean_fast",
         104,
         "split_euclidean_fast",
         {1e-7, 12.4},
         lines({{"disTh", "1e-07"}, {"maxSize", "12"}})},
        {"split_region_growing",
         105,
         "split_region_growing",
         {2.5, 3.5, 0.5, 1.6, 2.4},
         lines({{"tolerance", "3"}, {"smooth", "3.5"}, {"cure", "0.5"}, {"minCluster", "2"}, {"maxCluster", "2"}})},
        {"split_pachwork", 106, "split_pachwork++", {1, 2, 3}, {}},
        {"split_csf",
         107,
         "split_csf",
         {true, 0.5, 1.5, 500.4, 2.6, 0.65, false},
         lines({{"sloopSmooth", "true"},
                {"class_threshold", "0.5"},
                {"cloth_resolution", "1.5"},
                {"interations", "500"},
                {"rigidness", "3"},
                {"time_step", "0.65"},
                {"remove_ground", "false"}})},
        {"sample_poisson_disk",
         200,
         "sample_poisson_disk",
         {0.1, 5.0, -1.5},
         lines({{"targetPercents", "0.1"}, {"init_factor", "5"}, {"makeMeshAlpha", "-1.5"}})},
    };
}

class FunctionConfigFile : public ::testing::Test
{
protected:
    QString path() const { return m_dir.filePath(text("o3d_config.ini")); }
    bool write(int function, const QVariant &params, const QString &source = text("/s"),
               const QString &dest = text("/d"))
    {
        return writeFunctionConfig({static_cast<EPtCloud_Function>(function), params, source, dest}, path());
    }
    bool write(const Row &row) { return write(row.function, row.elements); }

    /// The lines of the file below its one section, by key.
    QMap<QString, QString> linesOfFile() const
    {
        QList<QByteArray> all = support::readFile(path()).split('\n');
        EXPECT_EQ(all.takeFirst(), "[section]");
        EXPECT_EQ(all.takeLast(), QByteArray());
        QMap<QString, QString> result;
        for (const QByteArray &line : all) {
            const int end = line.indexOf('=');
            EXPECT_GT(end, 0) << line.constData();
            result.insert(QString::fromUtf8(line.left(end)), QString::fromUtf8(line.mid(end + 1)));
        }
        EXPECT_EQ(result.size(), all.size());
        return result;
    }
    static QMap<QString, QString> withCommonKeys(int function, QMap<QString, QString> keys)
    {
        keys.insert(text("function"), QString::number(function));
        keys.insert(text("source_filepath"), text("/s"));
        keys.insert(text("dest_filepath"), text("/d"));
        return keys;
    }
    QString value(const char *key) const
    {
        const QVariant found = QSettings(path(), QSettings::IniFormat).value(text("section/") + text(key));
        return found.isValid() ? found.toString() : text("missing");
    }

    QTemporaryDir m_dir;
};

class FunctionConfig : public FunctionConfigFile, public ::testing::WithParamInterface<Row>
{
};

INSTANTIATE_TEST_SUITE_P(Functions, FunctionConfig, ::testing::ValuesIn(rows()),
                         [](const ::testing::TestParamInfo<Row> &row) { return std::string(row.param.name); });

} // namespace

TEST_P(FunctionConfig, WritesItsKeysAndTheCommonOnes)
{
    EXPECT_TRUE(write(GetParam()));
    EXPECT_EQ(linesOfFile(), withCommonKeys(GetParam().function, GetParam().lines));
}

TEST_P(FunctionConfig, HasItsNameInTheLog)
{
    EXPECT_EQ(functionLogName(static_cast<EPtCloud_Function>(GetParam().function)), text(GetParam().logName));
}

TEST_P(FunctionConfig, IgnoresFurtherElements)
{
    Row row = GetParam();
    row.elements << text("further") << 17;
    EXPECT_TRUE(write(row));
    EXPECT_EQ(linesOfFile(), withCommonKeys(row.function, row.lines));
}

TEST_P(FunctionConfig, ReadsMissingElementsAsNothing)
{
    const QStringList texts = {text("meshAbsFilepath"), text("heightMapAbsFilepath"), text("contourAbsFilepath"),
                               text("treeClassifyAbsFilepath")};
    const QStringList booleans = {text("fastNormal"), text("retainNoise"), text("sloopSmooth"), text("remove_ground")};
    QMap<QString, QString> nothing;
    for (const QString &key : GetParam().lines.keys())
        nothing[key] = texts.contains(key) ? QString() : booleans.contains(key) ? text("false") : text("0");
    for (const QVariant &params : {QVariant(), QVariant(QVariantList()), QVariant(5), QVariant(QVariantMap())}) {
        QFile::remove(path());
        EXPECT_TRUE(write(GetParam().function, params));
        EXPECT_EQ(linesOfFile(), withCommonKeys(GetParam().function, nothing));
    }
}

TEST_P(FunctionConfig, TakesWhatAnElementHoldsForWhatTheKeyNeeds)
{
    QVariantList texts;
    for (const QVariant &element : GetParam().elements)
        texts << (element.type() == QVariant::Bool ? QVariant(element.toString()) : QVariant(text("7")));
    EXPECT_TRUE(write(GetParam().function, texts));
    for (const QString &key : GetParam().lines.keys()) {
        const QString line = GetParam().lines[key];
        const bool isBoolean = line == text("true") || line == text("false");
        EXPECT_EQ(linesOfFile()[key], isBoolean ? line : text("7")) << qPrintable(key);
    }
}

TEST_P(FunctionConfig, TakesAListOfTextsForAList)
{
    EXPECT_TRUE(write(GetParam().function,
                      QStringList({text("1"), text("1"), text("1"), text("1"), text("1"), text("1"), text("1")})));
    for (const QString &key : GetParam().lines.keys())
        EXPECT_TRUE(linesOfFile()[key] == text("1") || linesOfFile()[key] == text("true")) << qPrintable(key);
}

TEST_P(FunctionConfig, LeavesTheKeysOfAllOthers)
{
    QMap<QString, QString> expected;
    for (const Row &row : rows()) {
        if (row.function != GetParam().function) {
            ASSERT_TRUE(write(row));
            for (const QString &key : row.lines.keys())
                expected[key] = row.lines[key];
        }
    }
    ASSERT_TRUE(write(GetParam()));
    for (const QString &key : GetParam().lines.keys())
        expected[key] = GetParam().lines[key];
    EXPECT_EQ(linesOfFile(), withCommonKeys(GetParam().function, expected));
}

TEST_F(FunctionConfigFile, KeepsWhatItHeldBefore)
{
    ASSERT_TRUE(support::writeFile(path(), "[other]\nkey=1\n[section]\nmine=two\nalpha=9\n"));
    EXPECT_TRUE(write(0, QVariantList({true, 1})));
    EXPECT_EQ(value("mine"), text("two"));
    EXPECT_EQ(value("alpha"), text("1"));
    EXPECT_EQ(QSettings(path(), QSettings::IniFormat).value(text("other/key")).toString(), text("1"));
}

TEST_F(FunctionConfigFile, HoldsAnUnknownFunctionWithTheKeysOfTheLastGoodOne)
{
    ASSERT_TRUE(write(0, QVariantList({true, 2.5})));
    for (const int function : {-1, 4, 99, 108, 199, 201, 300, 2147483647, -2147483647 - 1}) {
        EXPECT_FALSE(write(function, QVariantList({false, 7.5}), text("/new source"), text("/new dest")));
        EXPECT_EQ(value("function"), QString::number(function));
        EXPECT_EQ(value("source_filepath"), text("/new source"));
        EXPECT_EQ(value("dest_filepath"), text("/new dest"));
        EXPECT_EQ(value("fastNormal"), text("true"));
        EXPECT_EQ(value("alpha"), text("2.5"));
        EXPECT_EQ(functionLogName(static_cast<EPtCloud_Function>(function)), QString());
    }
}

TEST_F(FunctionConfigFile, HoldsTheCommonKeysAloneForAFunctionWithoutParameters)
{
    EXPECT_TRUE(write(106, QVariant()));
    EXPECT_EQ(linesOfFile(), withCommonKeys(106, {}));
}

TEST_F(FunctionConfigFile, MakesNothingOfElementsThatDoNotFit)
{
    EXPECT_TRUE(write(2, QVariantList({text("false"), text("deep"), text("1.5 m"), QVariantList({1})})));
    EXPECT_EQ(value("fastNormal"), text("false"));
    EXPECT_EQ(value("depth"), text("0"));
    EXPECT_EQ(value("width"), text("0"));
    EXPECT_EQ(value("desity_divide"), text("0"));
}

TEST_F(FunctionConfigFile, KeepsAnEmptyPath)
{
    EXPECT_TRUE(write(3, QVariantList({text("/m"), QString(), 5, text("/c"), 6, text("/t")})));
    EXPECT_EQ(linesOfFile()[text("heightMapAbsFilepath")], QString());
    EXPECT_TRUE(linesOfFile().contains(text("heightMapAbsFilepath")));
}

TEST_F(FunctionConfigFile, GivesBackPathsOfAnyLetters)
{
    for (const char *path :
         {"a b", "a,b", "a;b", "\"quoted\"", "'", "a=b", "[section]", "@at", "%1", "\\n", "C:\\new dir\\x",
          "\xc3\xa4\xc3\xb6\xe4\xb8\xad\xf0\x9f\x8c\x8d", " blanks ", "a\nb", "#", ""}) {
        EXPECT_TRUE(write(106, {}, text(path), text(path) + text("/dest")));
        EXPECT_EQ(value("source_filepath"), text(path));
        EXPECT_EQ(value("dest_filepath"), text(path) + text("/dest"));
    }
}

TEST_F(FunctionConfigFile, KeepsNumbersExactly)
{
    for (const double number : {0.1, 1.0 / 3, 1e300, -5e-324, 123456789.123456789}) {
        EXPECT_TRUE(write(0, QVariantList({true, number})));
        EXPECT_EQ(value("alpha").toDouble(), number);
    }
}

TEST_F(FunctionConfigFile, GoesUnnoticedWhereItCannotBeWritten)
{
    ASSERT_TRUE(support::writeFile(m_dir.filePath(text("plain")), {}));
    const QString nowhere = m_dir.filePath(text("plain/o3d_config.ini"));
    EXPECT_TRUE(writeFunctionConfig({Function_split_pachwork, {}, {}, {}}, nowhere));
    EXPECT_FALSE(writeFunctionConfig({static_cast<EPtCloud_Function>(4), {}, {}, {}}, nowhere));
    EXPECT_FALSE(QFile::exists(nowhere));
}
