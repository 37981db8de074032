#include "read/hive.h"

#include <hivex.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace report
{
bool ReadHive(const std::string& file, const std::string& rootPath, RegTree& tree, std::string& error)
{
    hive_h* hive = hivex_open(file.c_str(), 0);
    if (!hive)
    {
        error = std::string("not a registry hive (") + strerror(errno) + ")";
        return false;
    }
    size_t budget = 200000; // nodes: a hostile hive may loop
    std::function<void(hive_node_h, const std::string&, int)> walk = [&](hive_node_h node, const std::string& path,
                                                                        int depth) {
        if (budget == 0 || depth > 64)
            return;
        --budget;
        RegKey& key = tree.AddKey(path, 0);
        if (hive_value_h* values = hivex_node_values(hive, node))
        {
            for (hive_value_h* v = values; *v; ++v)
            {
                char* name = hivex_value_key(hive, *v);
                hive_type type;
                size_t length = 0;
                char* data = hivex_value_value(hive, *v, &type, &length);
                if (name && data)
                    key.values.push_back({name, static_cast<uint32_t>(type), std::string(data, length), 0});
                free(name);
                free(data);
            }
            free(values);
        }
        if (hive_node_h* children = hivex_node_children(hive, node))
        {
            for (hive_node_h* child = children; *child; ++child)
            {
                char* name = hivex_node_name(hive, *child);
                if (name)
                    walk(*child, path + "\\" + name, depth + 1);
                free(name);
            }
            free(children);
        }
    };
    walk(hivex_root(hive), rootPath, 0);
    hivex_close(hive);
    return true;
}
} // namespace report
