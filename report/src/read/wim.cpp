#include "read/wim.h"

#include <wimlib.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

namespace report
{
namespace
{
const uint64_t kInfCap = 4ull << 20;
const uint64_t kInfTotalCap = 512ull << 20;
const size_t kInfCountCap = 50000;

struct WimCloser
{
    void operator()(WIMStruct* wim) const { wimlib_free(wim); }
};
using WimPtr = std::unique_ptr<WIMStruct, WimCloser>;

WimPtr OpenWim(const std::string& file, std::string& error)
{
    static const int initialized = wimlib_global_init(0);
    (void)initialized;
    WIMStruct* wim = nullptr;
    const int code = wimlib_open_wim(file.c_str(), 0, &wim);
    if (code != 0)
    {
        error = wimlib_get_error_string(static_cast<wimlib_error_code>(code));
        return nullptr;
    }
    return WimPtr(wim);
}

std::string ArchitectureName(const char* value)
{
    if (!value)
        return "";
    const std::string number = value;
    return number == "9" ? "x64" : number == "0" ? "x86" : number == "12" ? "arm64" : number == "5" ? "arm" : number;
}

struct InfList
{
    std::vector<std::string> paths;
    std::vector<std::string> skipped;
    size_t elsewhere = 0;
    uint64_t total = 0;
};

// Where Plug and Play looks for drivers in an image: \Windows\INF\*.inf and
// \Windows\System32\DriverStore\FileRepository\<package>\*.inf. Names compared as Windows
// compares them, without regard to case.
bool WherePnpLooks(const std::string& path)
{
    const std::string lower = AsciiLower(path);
    static const std::string kInfFolder = "/windows/inf/";
    static const std::string kStore = "/windows/system32/driverstore/filerepository/";
    if (lower.compare(0, kInfFolder.size(), kInfFolder) == 0)
        return lower.find('/', kInfFolder.size()) == std::string::npos;
    if (lower.compare(0, kStore.size(), kStore) != 0)
        return false;
    const size_t package = lower.find('/', kStore.size());
    return package != std::string::npos && package > kStore.size() && lower.find('/', package + 1) == std::string::npos;
}

int CollectInf(const wimlib_dir_entry* entry, void* context)
{
    auto* list = static_cast<InfList*>(context);
    const std::string path = entry->full_path ? entry->full_path : "";
    if ((entry->attributes & WIMLIB_FILE_ATTRIBUTE_DIRECTORY) || path.size() < 4 ||
        AsciiLower(path.substr(path.size() - 4)) != ".inf")
        return 0;
    if (!WherePnpLooks(path))
    {
        ++list->elsewhere;
        return 0;
    }
    const uint64_t size = entry->streams[0].resource.uncompressed_size;
    if (size > kInfCap || list->total + size > kInfTotalCap || list->paths.size() >= kInfCountCap ||
        path.find("/../") != std::string::npos)
        list->skipped.push_back(path);
    else
    {
        list->paths.push_back(path);
        list->total += size;
    }
    return 0;
}

unsigned Unsigned(const char* value)
{
    return value ? static_cast<unsigned>(strtoul(value, nullptr, 10)) : 0;
}

void Index(std::map<std::string, InfListing>& index, const InfSection& section, const InfListing& listing, DriverSearch& search)
{
    for (const std::string& id : section.ids)
    {
        if (index.size() >= kDriverIdCap && !index.count(id))
        {
            search.idCapHit = true;
            return;
        }
        index.emplace(id, listing);
    }
}

void ReadOneInf(const std::string& file, const std::string& path, DriverSearch& search)
{
    std::ifstream in(file, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    Text text;
    std::string problem;
    if (!in || !DecodeSystemText(bytes.str(), text, problem))
    {
        search.skipped.push_back(path);
        return;
    }
    const bool store = AsciiLower(path).find("/driverstore/") != std::string::npos;
    ++(store ? search.driverStore : search.infFolder);
    const InfDriver driver = ReadInf(text, search.target);
    if (driver.cutLines)
        search.cutLines.push_back(path);
    if (!driver.notFunctionDriver.empty())
    {
        search.notFunction.push_back(path + " (" + driver.notFunctionDriver + ")");
        return;
    }
    for (const InfSection& section : driver.chosen)
        Index(search.ids, section, {path, section.name, ""}, search);
    for (const InfPassedOver& passed : driver.passedOver)
        Index(search.passedOver, passed.section, {path, passed.section.name, passed.why}, search);
}
} // namespace

const WimImage* WimInfo::RecoveryImage() const
{
    for (const WimImage& image : images)
        if (image.index == bootIndex)
            return &image;
    return images.empty() ? nullptr : &images.front();
}

WimInfo ReadWimInfo(const std::string& file)
{
    WimInfo info;
    WimPtr wim = OpenWim(file, info.error);
    if (!wim)
        return info;
    wimlib_wim_info header;
    if (wimlib_get_wim_info(wim.get(), &header) != 0)
    {
        info.error = "its header cannot be read";
        return info;
    }
    info.imageCount = static_cast<int>(header.image_count);
    info.bootIndex = static_cast<int>(header.boot_index);
    for (int i = 1; i <= info.imageCount && i <= 64; ++i)
    {
        WimImage image;
        image.index = i;
        const char* name = wimlib_get_image_name(wim.get(), i);
        image.name = name ? name : "";
        const char* build = wimlib_get_image_property(wim.get(), i, "WINDOWS/VERSION/BUILD");
        image.build = build ? build : "";
        image.architecture = ArchitectureName(wimlib_get_image_property(wim.get(), i, "WINDOWS/ARCH"));
        image.major = Unsigned(wimlib_get_image_property(wim.get(), i, "WINDOWS/VERSION/MAJOR"));
        image.minor = Unsigned(wimlib_get_image_property(wim.get(), i, "WINDOWS/VERSION/MINOR"));
        const char* productType = wimlib_get_image_property(wim.get(), i, "WINDOWS/PRODUCTTYPE");
        image.productType = productType ? productType : "";
        info.images.push_back(image);
    }
    info.valid = info.imageCount > 0;
    if (!info.valid)
        info.error = "it holds no image";
    return info;
}

InfTarget TargetOf(const WimImage& image, const std::string& fallbackArchitecture)
{
    InfTarget target;
    target.architecture = image.architecture.empty() ? fallbackArchitecture : image.architecture;
    target.major = image.major;
    target.minor = image.minor;
    target.build = Unsigned(image.build.c_str());
    // The names of ProductOptions' ProductType; without one the image is Windows PE or RE, a
    // workstation product.
    target.productType = EqualsNoCase(image.productType, "ServerNT") ? 3 : EqualsNoCase(image.productType, "LanmanNT") ? 2 : 1;
    return target;
}

DriverSearch SearchDrivers(const std::string& file, int image, const InfTarget& target, TempFolder& temp)
{
    DriverSearch search;
    search.image = image;
    search.target = target;
    WimPtr wim = OpenWim(file, search.problem);
    if (!wim)
        return search;
    InfList list;
    int code = wimlib_iterate_dir_tree(wim.get(), image, "/", WIMLIB_ITERATE_DIR_TREE_FLAG_RECURSIVE, CollectInf, &list);
    if (code == 0 && !list.paths.empty())
    {
        std::vector<const char*> paths;
        for (const std::string& path : list.paths)
            paths.push_back(path.c_str());
        const std::string folder = temp.NewPath("-inf");
        code = wimlib_extract_paths(wim.get(), image, folder.c_str(), paths.data(), paths.size(),
                                    WIMLIB_EXTRACT_FLAG_NO_ACLS | WIMLIB_EXTRACT_FLAG_NO_ATTRIBUTES |
                                        WIMLIB_EXTRACT_FLAG_NORPFIX | WIMLIB_EXTRACT_FLAG_REPLACE_INVALID_FILENAMES);
        for (size_t i = 0; code == 0 && i < list.paths.size(); ++i)
            ReadOneInf(folder + list.paths[i], list.paths[i], search);
    }
    if (code != 0)
    {
        search.problem = wimlib_get_error_string(static_cast<wimlib_error_code>(code));
        return search;
    }
    search.skipped.insert(search.skipped.end(), list.skipped.begin(), list.skipped.end());
    search.elsewhere = list.elsewhere;
    search.done = true;
    return search;
}
} // namespace report
