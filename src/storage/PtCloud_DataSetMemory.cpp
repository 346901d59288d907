#include "PtCloud_DataSetMemory.h"

#include "PtCloud_DataSetFile.h"

#include <algorithm>
#include <set>

namespace ptCloud
{

/// The objects that were copied from one another. An array is released by the last of them that holds it.
struct PtCloud_DataSetMemory::Family
{
    std::set<PtCloud_DataSetMemory *> members;

    /// What other members hold.
    std::set<const stPtCloud_PointArray *> heldBesides(const PtCloud_DataSetMemory *object) const
    {
        std::set<const stPtCloud_PointArray *> held;
        for (const PtCloud_DataSetMemory *member : members) {
            if (member == object)
                continue;
            held.insert(member->m_parked.begin(), member->m_parked.end());
            for (const auto &block : member->m_blocks)
                held.insert(std::get<1>(block));
        }
        return held;
    }
};

PtCloud_DataSetMemory::PtCloud_DataSetMemory() : m_family(std::make_shared<Family>())
{
    m_family->members.insert(this);
}

PtCloud_DataSetMemory::~PtCloud_DataSetMemory()
{
    clear();
    m_family->members.erase(this);
}

PtCloud_DataSetMemory::PtCloud_DataSetMemory(const PtCloud_DataSetMemory &other) : PtCloud_DataSetMemory()
{
    *this = other;
}

PtCloud_DataSetMemory &PtCloud_DataSetMemory::operator=(const PtCloud_DataSetMemory &other)
{
    if (this == &other)
        return *this;
    park(m_blocks);
    join(other);
    m_sortType = other.m_sortType;
    m_columns = other.m_columns;
    m_blocks = other.m_blocks;
    // What the new map shows as well was not replaced.
    std::set<const stPtCloud_PointArray *> shown;
    for (const auto &block : qAsConst(m_blocks))
        shown.insert(std::get<1>(block));
    m_parked.erase(std::remove_if(m_parked.begin(), m_parked.end(),
                                  [&shown](const stPtCloud_PointArray *array) { return shown.count(array) != 0; }),
                   m_parked.end());
    return *this;
}

/// Both families become one, since this object may still hold arrays of its old one.
void PtCloud_DataSetMemory::join(const PtCloud_DataSetMemory &other)
{
    const std::shared_ptr<Family> old = m_family;
    if (old == other.m_family)
        return;
    for (PtCloud_DataSetMemory *member : old->members) {
        other.m_family->members.insert(member);
        member->m_family = other.m_family;
    }
}

void PtCloud_DataSetMemory::park(const BlockMap &blocks)
{
    for (const auto &block : blocks)
        m_parked.push_back(std::get<1>(block));
}

void PtCloud_DataSetMemory::clear()
{
    park(m_blocks);
    m_sortType = EDataSetSort_None;
    m_columns.clear();
    m_blocks = BlockMap();
    const std::set<const stPtCloud_PointArray *> held = m_family->heldBesides(this);
    // An array may stand under several keys.
    const std::set<stPtCloud_PointArray *> mine(m_parked.begin(), m_parked.end());
    m_parked.clear();
    for (stPtCloud_PointArray *array : mine) {
        if (held.count(array) == 0)
            delete array;
    }
}

void PtCloud_DataSetMemory::getBlocks(QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> &blocks) const
{
    for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it) {
        const auto &[box, array] = *it;
        blocks[it.key()] = {array == nullptr ? 0 : array->m_pointCount, box};
    }
}

stPtCloud_PointArray *PtCloud_DataSetMemory::arrayAt(int key) const
{
    const auto it = m_blocks.constFind(key);
    return it == m_blocks.cend() ? nullptr : std::get<1>(*it);
}

const stPtCloud_PointArray *PtCloud_DataSetMemory::readBlock(int key)
{
    return arrayAt(key);
}

bool PtCloud_DataSetMemory::makeFromFile(PtCloud_DataSetFile *file)
{
    if (file == nullptr || !file->openFile())
        return false;
    if (takeBlocks(*file))
        return true;
    clear();
    return false;
}

bool PtCloud_DataSetMemory::takeBlocks(PtCloud_DataSetFile &file)
{
    const auto infos = file.getBlockInfos();
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        const stPtCloud_PointArray *block = file.readBlock(it.key());
        stPtCloud_PointArray *copy = nullptr;
        if (block == nullptr || !block->makeCopy(copy))
            return false;
        if (it == infos.cbegin()) {
            m_sortType = file.getSortType();
            m_columns = file.getColumns();
        }
        m_parked.push_back(arrayAt(it.key()));
        m_blocks.insert(it.key(), {std::get<2>(*it), copy});
    }
    return true;
}

bool PtCloud_DataSetMemory::saveToFile(PtCloud_DataSetFile *file)
{
    if (file == nullptr)
        return false;
    QMap<int, std::tuple<pcBoundingBoxf, const stPtCloud_PointArray *>> blocks;
    for (auto it = m_blocks.cbegin(); it != m_blocks.cend(); ++it)
        blocks.insert(it.key(), {std::get<0>(*it), std::get<1>(*it)});
    return file->makeDataSet_byMemory(m_sortType, m_columns, blocks);
}

} // namespace ptCloud
