// A whole archive, as the program reads it: opened, recognised, analysed, and rendered as text,
// JSON and HTML.
#include "check/analyze.h"
#include "facts/facts.h"
#include "fuzzing.h"
#include "show/render.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string pciIds = fuzzing::InFile("1000  LSI Logic\n\t0079  MegaRAID\n8086  Intel\n\t2922  SATA\n", ".ids");
    const std::string path = fuzzing::InFile(fuzzing::Bytes(data, size), ".zip");
    std::string error;
    const auto archive = report::Archive::Open(path, error);
    if (!archive || !report::IsMpdiagArchive(*archive))
        return 0;
    report::Options options;
    options.pciIds = pciIds;
    const report::Report result = report::Analyze(*archive, path, options);
    report::RenderText(result);
    report::RenderJson(result);
    report::RenderHtml(result);
    return 0;
}
