#include "read/hive.h"

#include <hivex.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace report
{
namespace
{
// A value's type as the hive stores it: any 32-bit number, which need not be one of hive_type's
// names (reading it as the enumeration would be undefined), so its bytes are copied.
uint32_t RawType(const hive_type& type)
{
    static_assert(sizeof(hive_type) == sizeof(uint32_t), "hivex keeps a value's type in 32 bits");
    uint32_t raw = 0;
    memcpy(&raw, &type, sizeof raw);
    return raw;
}

class HiveWalk
{
public:
    HiveWalk(hive_h* hive, RegTree& tree) : m_hive(hive), m_tree(tree) {}

    void Walk(hive_node_h node, const std::string& path, int depth)
    {
        if (depth > kMaxHiveDepth)
        {
            m_tooDeep = true;
            return;
        }
        if (!Take(path.size()) || m_keys == kMaxHiveKeys)
        {
            m_stopped = true;
            return;
        }
        ++m_keys;
        ReadValues(node, m_tree.AddKey(path, 0));
        hive_node_h* children = hivex_node_children(m_hive, node);
        for (hive_node_h* child = children; child && *child && !m_stopped; ++child)
        {
            char* name = hivex_node_name(m_hive, *child);
            if (name)
                Walk(*child, path + "\\" + name, depth + 1);
            free(name);
        }
        free(children);
    }

    // What the bounds left out, for the tree's note.
    std::string LeftOut() const
    {
        std::string what;
        if (m_stopped)
            what = "the walk stopped at its bound of " + std::to_string(kMaxHiveKeys) + " keys or " +
                   std::to_string(kMaxHiveBytes) + " bytes: the keys after it were left out";
        if (m_tooDeep)
            what += std::string(what.empty() ? "" : "; ") + "keys nested deeper than " + std::to_string(kMaxHiveDepth) +
                    " levels were left out";
        return what;
    }

private:
    bool Take(size_t bytes)
    {
        if (bytes > kMaxHiveBytes - m_bytes)
            return false;
        m_bytes += bytes;
        return true;
    }

    void ReadValues(hive_node_h node, RegKey& key)
    {
        hive_value_h* values = hivex_node_values(m_hive, node);
        for (hive_value_h* v = values; v && *v && !m_stopped; ++v)
        {
            char* name = hivex_value_key(m_hive, *v);
            hive_type type;
            size_t length = 0;
            char* data = hivex_value_value(m_hive, *v, &type, &length);
            if (name && data && !Take(strlen(name) + length))
                m_stopped = true;
            else if (name && data)
                key.values.push_back({name, RawType(type), std::string(data, length), 0});
            free(name);
            free(data);
        }
        free(values);
    }

    hive_h* m_hive;
    RegTree& m_tree;
    size_t m_keys = 0, m_bytes = 0;
    bool m_stopped = false, m_tooDeep = false;
};
} // namespace

bool ReadHive(const std::string& file, const std::string& rootPath, RegTree& tree, std::string& error)
{
    hive_h* hive = hivex_open(file.c_str(), 0);
    if (!hive)
    {
        error = std::string("not a registry hive (") + strerror(errno) + ")";
        return false;
    }
    HiveWalk walk(hive, tree);
    walk.Walk(hivex_root(hive), rootPath, 0);
    tree.SetLeftOut(walk.LeftOut());
    hivex_close(hive);
    return true;
}
} // namespace report
