#ifndef TARNWAVE_HOST_NET_XML_ARENA_H
#define TARNWAVE_HOST_NET_XML_ARENA_H

// Storage of the XML tree (host internal): a bump allocator over a few large
// blocks, and a pool that keeps each distinct name once.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace boxhost::xml {

// Hands out memory from blocks of 64 KiB and frees it all at once with the
// arena. Only for trivially destructible objects: nothing is destroyed one by
// one. Standard-size blocks go back to a small process-wide stock when the
// arena ends and are taken from there by the next one: fresh memory costs the
// kernel more than filling it does, and trees are built one after another.
class Arena
{
public:
    static constexpr std::size_t blockSize = 64 * 1024;
    // At most this many spare blocks are kept (2 MiB).
    static constexpr std::size_t sparesKept = 32;

    Arena() = default;
    ~Arena();
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;

    // `alignment` must be a power of two.
    void *allocate(std::size_t size, std::size_t alignment)
    {
        std::size_t padding = paddingFor(alignment);
        if (padding + size > m_left) {
            grow(size + alignment);
            padding = paddingFor(alignment);
        }
        std::byte *start = m_cursor + padding;
        m_cursor = start + size;
        m_left -= padding + size;
        return start;
    }

    // A zero-terminated copy of `length` bytes.
    const char *copyString(const char *text, std::size_t length)
    {
        char *copy = static_cast<char *>(allocate(length + 1, 1));
        std::memcpy(copy, text, length);
        copy[length] = '\0';
        return copy;
    }

    // Frees the spare blocks kept for later arenas.
    static void releaseSpareBlocks();

private:
    struct Block
    {
        std::unique_ptr<std::byte[]> memory;
        std::size_t size;
    };

    std::size_t paddingFor(std::size_t alignment) const
    {
        return (0 - reinterpret_cast<std::uintptr_t>(m_cursor)) & (alignment - 1);
    }

    void grow(std::size_t atLeast);

    std::vector<Block> m_blocks;
    std::byte *m_cursor = nullptr;
    std::size_t m_left = 0;
};

// Element and attribute names, each distinct name stored once in the arena
// and numbered in the order first seen.
class NamePool
{
public:
    explicit NamePool(Arena &arena) : m_arena(arena) { }

    std::uint32_t intern(const char *name)
    {
        const std::string_view key(name);
        const auto found = m_ids.find(key);
        if (found != m_ids.end())
            return found->second;
        const char *stored = m_arena.copyString(key.data(), key.size());
        const auto id = static_cast<std::uint32_t>(m_names.size());
        m_names.push_back(stored);
        m_ids.emplace(std::string_view(stored, key.size()), id);
        return id;
    }

    const char *name(std::uint32_t id) const { return m_names[id]; }

private:
    Arena &m_arena;
    std::vector<const char *> m_names; // by id
    std::unordered_map<std::string_view, std::uint32_t> m_ids;
};

} // namespace boxhost::xml

#endif
