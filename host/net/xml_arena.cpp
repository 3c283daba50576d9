// The XML tree's arena: its blocks and the stock of spare ones.

#include "net/xml_arena.h"

#include <mutex>
#include <utility>

namespace boxhost::xml {

namespace {

// Spare standard-size blocks; trees may be built on any thread.
struct SpareStock
{
    std::mutex mutex;
    std::vector<std::unique_ptr<std::byte[]>> blocks;
};

SpareStock &spareStock()
{
    static SpareStock stock;
    return stock;
}

std::unique_ptr<std::byte[]> takeSpare()
{
    SpareStock &stock = spareStock();
    std::lock_guard lock(stock.mutex);
    if (stock.blocks.empty())
        return nullptr;
    std::unique_ptr<std::byte[]> block = std::move(stock.blocks.back());
    stock.blocks.pop_back();
    return block;
}

} // namespace

Arena::~Arena()
{
    SpareStock &stock = spareStock();
    std::lock_guard lock(stock.mutex);
    for (Block &block : m_blocks)
        if (block.size == blockSize && stock.blocks.size() < sparesKept)
            stock.blocks.push_back(std::move(block.memory));
}

void Arena::releaseSpareBlocks()
{
    std::vector<std::unique_ptr<std::byte[]>> released;
    SpareStock &stock = spareStock();
    std::lock_guard lock(stock.mutex);
    released.swap(stock.blocks);
}

void Arena::grow(std::size_t atLeast)
{
    if (atLeast > blockSize) {
        // A value too long for a standard block gets a block of its own.
        m_blocks.push_back(Block{std::make_unique_for_overwrite<std::byte[]>(atLeast), atLeast});
    } else {
        std::unique_ptr<std::byte[]> memory = takeSpare();
        if (!memory)
            memory = std::make_unique_for_overwrite<std::byte[]>(blockSize);
        m_blocks.push_back(Block{std::move(memory), blockSize});
    }
    // The rest of the current block is given up; at most one string or node's worth.
    m_cursor = m_blocks.back().memory.get();
    m_left = m_blocks.back().size;
}

} // namespace boxhost::xml
