#include "show/drawing.h"

#include "show/format.h"
#include "read/boot_store.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>

namespace report
{
namespace
{
// The drawing's own units; the page scales it to its width. The chain on the left, the disks on
// the right, a legend below.
// Narrow enough to keep its text readable on a printed page.
const double kWidth = 780;
const double kChainWidth = 370, kBoxHeight = 78, kArrowHeight = 42, kTop = 30;
const double kDiskX = 400, kDiskWidth = 380, kBarHeight = 26, kRow = 17;
const char kInk[] = "#222", kGrey[] = "#666", kFaint[] = "#999";

struct Colours
{
    const char* line;
    const char* fill;
};

Colours RoleColours(const std::string& role)
{
    if (role == kRoleBootManager)
        return {"#6a3d9a", "#f1ebf7"};
    if (role == kRoleWindows || role == "current-loader")
        return {"#1f5fa8", "#e8f0fa"};
    if (role == kRoleRecoveryImage || role == "recovery-loader")
        return {"#23803d", "#e7f4ea"};
    return {"#444", "#f4f4f4"};
}

const char* StateColour(ChainState state)
{
    switch (state)
    {
    case ChainState::Broken: return "#b3261e";
    case ChainState::Doubtful: return "#a35c00";
    case ChainState::Unknown: return kGrey;
    case ChainState::NotReached: return kFaint;
    case ChainState::Ok: break;
    }
    return kInk;
}

const char* StateWord(ChainState state)
{
    switch (state)
    {
    case ChainState::Broken: return "BROKEN";
    case ChainState::Doubtful: return "IN DOUBT";
    case ChainState::Unknown: return "UNKNOWN";
    case ChainState::NotReached: return "NOT REACHED";
    case ChainState::Ok: break;
    }
    return "";
}

// Advances of characters of a wide sans-serif font (DejaVu Sans, which Debian's browsers fall back
// to), in font sizes, a little generous, so that a line cut to its budget stays inside its box
// whatever the font; a monospace font's are all alike. A character from U+1100 on counts as two
// capitals.
double Advance(unsigned char c, bool monospace)
{
    if (monospace)
        return 0.61;
    if (c >= 0x80)
        return 0.75;
    if (std::string(" .,:;'|!ilIjtfr()[]\\/-").find(static_cast<char>(c)) != std::string::npos)
        return 0.4;
    if (std::string("mwMW@%").find(static_cast<char>(c)) != std::string::npos)
        return 1.0;
    return isupper(c) ? 0.78 : 0.65;
}

// How much wider a bold line is.
const double kBold = 1.1;

double CharacterWidth(unsigned char lead, bool monospace)
{
    return lead >= 0xE1 ? 2 * Advance('M', monospace) : Advance(lead, monospace);
}

// Width of UTF-8 text in font sizes.
double Width(const std::string& text, bool monospace)
{
    double width = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80)
            width += CharacterWidth(c, monospace);
    return width;
}

// The text cut to what fits in `width` units at `size`, with an ellipsis where it was cut.
std::string Fit(const std::string& text, double width, double size, bool monospace = false)
{
    const double budget = width / size;
    if (Width(text, monospace) <= budget)
        return text;
    double used = 1; // the ellipsis
    size_t end = 0;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) == 0x80)
            continue;
        used += CharacterWidth(c, monospace);
        if (used > budget)
            break;
        end = i + 1;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
            ++end;
    }
    return text.substr(0, end) + "\xE2\x80\xA6";
}

double TextWidth(const std::string& text, double size) { return Width(text, false) * size; }

std::string Number(double value)
{
    char text[32];
    snprintf(text, sizeof text, "%.1f", value);
    return text;
}

class Svg
{
public:
    std::ostringstream out;

    void Text(double x, double y, double size, const std::string& text, const char* fill = kInk, const std::string& extra = "")
    {
        out << "<text x=\"" << Number(x) << "\" y=\"" << Number(y) << "\" font-size=\"" << Number(size) << "\" fill=\"" << fill
            << "\"" << extra << ">" << Escaped(text) << "</text>\n";
    }
    void Rect(double x, double y, double w, double h, const char* stroke, const char* fill, const std::string& extra = "")
    {
        out << "<rect x=\"" << Number(x) << "\" y=\"" << Number(y) << "\" width=\"" << Number(w) << "\" height=\"" << Number(h)
            << "\" stroke=\"" << stroke << "\" fill=\"" << fill << "\"" << extra << "/>\n";
    }
    void Line(double x1, double y1, double x2, double y2, const char* stroke, const std::string& extra = "")
    {
        out << "<line x1=\"" << Number(x1) << "\" y1=\"" << Number(y1) << "\" x2=\"" << Number(x2) << "\" y2=\"" << Number(y2)
            << "\" stroke=\"" << stroke << "\"" << extra << "/>\n";
    }
    // Diagonal lines over a rectangle: an extent that the archive does not give. Drawn as lines
    // rather than a pattern so that the drawing refers to nothing.
    void Hatch(double x, double y, double w, double h, const char* stroke)
    {
        out << "<path stroke=\"" << stroke << "\" stroke-width=\"1\" fill=\"none\" d=\"";
        for (double t = 7; t < w + h; t += 7)
        {
            const double u1 = std::max(0.0, t - h), u2 = std::min(w, t);
            out << "M" << Number(x + u1) << " " << Number(y + t - u1) << "L" << Number(x + u2) << " " << Number(y + t - u2);
        }
        out << "\"/>\n";
    }
};

const char* Dashed(ChainState state)
{
    return state == ChainState::Unknown || state == ChainState::NotReached ? " stroke-dasharray=\"5 4\"" : "";
}

// The arrow into a step, with what leads there and, when it breaks, a cross and the finding's title.
void Arrow(Svg& svg, const ChainStep& step, double top)
{
    const double x = 36, bottom = top + kArrowHeight, middle = top + kArrowHeight / 2;
    const char* colour = StateColour(step.link);
    svg.Line(x, top, x, bottom - 7, colour, step.link == ChainState::Ok ? " stroke-width=\"2\"" : Dashed(step.link));
    svg.out << "<path d=\"M" << Number(x - 5) << " " << Number(bottom - 8) << "L" << Number(x + 5) << " " << Number(bottom - 8)
            << "L" << Number(x) << " " << Number(bottom) << "Z\" fill=\"" << colour << "\"/>\n";
    const bool judged = step.link == ChainState::Broken || step.link == ChainState::Doubtful;
    if (judged)
    {
        svg.Line(x - 7, middle - 7, x + 7, middle + 7, colour, " stroke-width=\"3\"");
        svg.Line(x - 7, middle + 7, x + 7, middle - 7, colour, " stroke-width=\"3\"");
    }
    const std::string words = step.link == ChainState::Unknown && step.linkText.empty() ? "unknown" : step.linkText;
    const double textX = x + 18, width = kChainWidth - textX;
    if (judged)
    {
        svg.Text(textX, middle - 3, 11, Fit(std::string(StateWord(step.link)) + (words.empty() ? "" : ": " + words), width, 11), colour,
                 " font-weight=\"bold\"");
        svg.Text(textX, middle + 12, 11, Fit(step.linkProblem, width, 11), colour);
    }
    else if (!words.empty())
        svg.Text(textX, middle + 4, 11, Fit(words, width, 11), colour);
}

void Box(Svg& svg, const ChainStep& step, double top)
{
    const Colours role = RoleColours(step.role);
    const bool ok = step.state == ChainState::Ok;
    const char* line = ok ? role.line : StateColour(step.state);
    svg.out << "<g>\n<title>" << Escaped(step.title + ": " + (ok ? "" : StateWords(step) + "; ") + StepFacts(step)) << "</title>\n";
    svg.Rect(1, top, kChainWidth - 2, kBoxHeight, line, ok ? role.fill : "#fff",
             std::string(step.state == ChainState::Broken ? " stroke-width=\"3\"" : " stroke-width=\"1.5\"") + " rx=\"6\"" + Dashed(step.state));
    svg.Text(12, top + 19, 13, step.title, ok ? kInk : line, " font-weight=\"bold\"");
    svg.Text(kChainWidth - 12, top + 19, 11, StateWord(step.state), line, " font-weight=\"bold\" text-anchor=\"end\"");
    const double width = kChainWidth - 24;
    std::string second = step.id, third = step.description.empty() ? step.detail : "\"" + step.description + "\"";
    if (!ok && !step.problem.empty())
        third = step.problem;
    else if (step.id.empty())
        second = step.detail, third.clear();
    svg.Text(12, top + 37, 11, Fit(second, width, 11, !step.id.empty()), ok ? kInk : kGrey, step.id.empty() ? "" : " font-family=\"monospace\"");
    svg.Text(12, top + 53, 11, Fit(third, width, 11), ok ? kGrey : line);
    svg.Text(12, top + 69, 11, Fit(step.device, width, 11), ok ? kGrey : line);
    svg.out << "</g>\n";
}

double ChainColumn(Svg& svg, const BootChain& chain)
{
    svg.Text(0, 16, 14, "Boot chain", kInk, " font-weight=\"bold\"");
    if (!chain.source.empty())
        svg.Text(90, 16, 11, Fit("from " + chain.source, kChainWidth - 90, 11), kGrey);
    double y = kTop;
    for (const ChainStep& step : chain.steps)
    {
        if (&step != &chain.steps.front())
        {
            Arrow(svg, step, y);
            y += kArrowHeight;
        }
        Box(svg, step, y);
        y += kBoxHeight;
    }
    return y;
}

double PartitionX(const DiskPlace& disk, const PartitionPlace& partition)
{
    const double share = static_cast<double>(partition.offset) / static_cast<double>(disk.size);
    return kDiskX + std::min(share, 1.0) * kDiskWidth;
}

bool Placed(const DiskPlace& disk, const PartitionPlace& partition) { return disk.size > 0 && partition.offset >= 0; }

// The bar: to scale where the disk's size is known, each placed partition from its start to the
// next one's (or the disk's end) hatched, since where it ends is not known.
void Bar(Svg& svg, const DiskPlace& disk, double y)
{
    svg.Rect(kDiskX, y, kDiskWidth, kBarHeight, "#555", "#fff");
    if (disk.size == 0)
    {
        svg.Hatch(kDiskX, y, kDiskWidth, kBarHeight, "#bbb");
        svg.Rect(kDiskX + kDiskWidth / 2 - 95, y + 5, 190, 16, "none", "#fff");
        svg.Text(kDiskX + kDiskWidth / 2, y + 17, 11, "size unknown: not to scale", kGrey, " text-anchor=\"middle\"");
        return;
    }
    std::vector<const PartitionPlace*> placed;
    for (const PartitionPlace& partition : disk.partitions)
        if (Placed(disk, partition))
            placed.push_back(&partition);
    if (placed.empty())
        svg.Text(kDiskX + kDiskWidth / 2, y + 17, 11, "where its partitions lie: unknown", kGrey, " text-anchor=\"middle\"");
    for (size_t i = 0; i < placed.size(); ++i)
    {
        const double x = PartitionX(disk, *placed[i]), end = i + 1 < placed.size() ? PartitionX(disk, *placed[i + 1]) : kDiskX + kDiskWidth;
        const Colours colours = RoleColours(placed[i]->roles.empty() ? "" : placed[i]->roles.front());
        svg.Rect(x, y, end - x, kBarHeight, "none", colours.fill);
        svg.Hatch(x, y, end - x, kBarHeight, colours.line);
        svg.Line(x, y - 3, x, y + kBarHeight + 3, kInk, " stroke-width=\"2.5\"");
        if (end - x > 130)
        {
            svg.Rect(x + 8, y + 5, 112, 16, "none", "#fff");
            svg.Text(x + 12, y + 17, 11, "extent unknown", kInk);
        }
    }
}

// A partition's roles as bold words in their colours.
std::string RoleWords(const PartitionPlace& partition)
{
    std::string words;
    for (size_t i = 0; i < partition.roles.size(); ++i)
        words += "<tspan font-weight=\"bold\" fill=\"" + std::string(RoleColours(partition.roles[i]).line) + "\">" + (i ? ", " : " ") +
                 Escaped(RoleTitle(partition.roles[i])) + "</tspan>";
    return words;
}

// A line under the bar per partition, with a leader from where it starts; its roles after it, or
// on a line of their own where they do not fit beside it.
double PartitionRows(Svg& svg, const DiskPlace& disk, double y)
{
    for (const PartitionPlace& partition : disk.partitions)
    {
        y += kRow;
        const bool placed = Placed(disk, partition);
        const bool beyond = placed && static_cast<uint64_t>(partition.offset) >= disk.size;
        std::string label = partition.Label() + (beyond ? " (beyond the disk's end)" : "") + " \xE2\x80\x93";
        label = Fit(label, kDiskWidth, 11);
        std::string roles;
        for (const std::string& role : partition.roles)
            roles += (roles.empty() ? " " : ", ") + std::string(RoleTitle(role));
        const double labelWidth = TextWidth(label, 11), rolesWidth = TextWidth(roles, 11) * kBold;
        const bool beside = labelWidth + rolesWidth <= kDiskWidth;
        const double anchor = placed ? PartitionX(disk, partition) : kDiskX;
        const double x = std::max(kDiskX, std::min(anchor, kWidth - (beside ? labelWidth + rolesWidth : std::max(labelWidth, rolesWidth))));
        if (placed)
            svg.Line(anchor, y - kRow + 6, anchor, y - 10, kInk);
        svg.out << "<text x=\"" << Number(x) << "\" y=\"" << Number(y) << "\" font-size=\"11\" fill=\"" << (beyond ? "#b3261e" : kInk) << "\">"
                << Escaped(label) << (beside ? RoleWords(partition) : "") << "</text>\n";
        if (!beside)
        {
            y += kRow - 3;
            svg.out << "<text x=\"" << Number(x) << "\" y=\"" << Number(y) << "\" font-size=\"11\">" << RoleWords(partition) << "</text>\n";
        }
    }
    return y;
}

struct DiskLabel
{
    std::string text;
    double size;
    bool bold, monospace;
};

// The lines above a disk's bar: what it is, then what the listing says of it, or why nothing does.
std::vector<DiskLabel> Header(const DiskPlace& disk)
{
    if (!disk.listed)
        return {{disk.style + " disk, not listed \xC2\xB7 size unknown", 12, true, false},
                {disk.identity, 11, false, true},
                {disk.style == "GPT" ? "named by the boot configuration; wmic lists no GPT disk identifiers"
                                     : "named by the boot configuration; no listed disk has this signature",
                 11, false, false}};
    std::string first = disk.Title(), second;
    for (const std::string& part : {DiskStyle(disk), DiskSize(disk)})
        first += part.empty() ? "" : " \xC2\xB7 " + part;
    for (const std::string& part : {disk.model, PartitionsListed(disk), disk.status.empty() ? "" : "status " + disk.status})
        if (!part.empty())
            second += (second.empty() ? "" : " \xC2\xB7 ") + part;
    return {{first, 12, true, false}, {second, 11, false, false}};
}

double DiskColumn(Svg& svg, const BootChain& chain)
{
    svg.Text(kDiskX, 16, 14, "Disks", kInk, " font-weight=\"bold\"");
    double y = kTop;
    if (chain.disks.empty())
    {
        svg.Text(kDiskX, y + 14, 11, "The archive lists no disks.", kGrey);
        y += 24;
    }
    for (const DiskPlace& disk : chain.disks)
    {
        for (const DiskLabel& line : Header(disk))
        {
            y += line.size + 3;
            svg.Text(kDiskX, y, line.size, Fit(line.text, kDiskWidth / (line.bold ? kBold : 1), line.size, line.monospace),
                     line.bold ? kInk : kGrey, line.bold ? " font-weight=\"bold\"" : line.monospace ? " font-family=\"monospace\"" : "");
        }
        Bar(svg, disk, y + 8);
        y = PartitionRows(svg, disk, y + 8 + kBarHeight + 4) + 20;
    }
    if (!chain.unplaced.empty())
    {
        svg.Text(kDiskX, y + 12, 12, "Partitions on a disk the archive does not name", kInk, " font-weight=\"bold\"");
        y += 14;
        DiskPlace none;
        none.partitions = chain.unplaced;
        y = PartitionRows(svg, none, y) + 20;
    }
    return y;
}

double Legend(Svg& svg, double y)
{
    svg.Rect(0, y, 40, 14, "#555", "#fff");
    svg.Hatch(0, y, 40, 14, "#888");
    svg.Text(48, y + 11, 11, "hatched: an extent the archive does not give (it tells where a partition starts, never its size)", kGrey);
    y += 22;
    svg.Line(0, y + 7, 14, y + 7, StateColour(ChainState::Broken), " stroke-width=\"3\"");
    svg.Text(20, y + 11, 11, "BROKEN: an error finding", StateColour(ChainState::Broken));
    svg.Line(200, y + 7, 214, y + 7, StateColour(ChainState::Doubtful), " stroke-width=\"3\"");
    svg.Text(220, y + 11, 11, "IN DOUBT: a warning finding", StateColour(ChainState::Doubtful));
    svg.Line(420, y + 7, 444, y + 7, kGrey, " stroke-dasharray=\"5 4\"");
    svg.Text(450, y + 11, 11, "dashed: unknown, or not reached past a break", kGrey);
    return y + 18;
}

std::string Description(const BootChain& chain)
{
    std::string text = chain.Verdict() + ".";
    for (const ChainStep& step : chain.steps)
        text += " " + step.title + ": " + (step.state == ChainState::Ok ? StepFacts(step) : StateWords(step) + (StepFacts(step).empty() ? "" : "; " + StepFacts(step))) + ".";
    for (const DiskPlace& disk : chain.disks)
    {
        text += " " + DiskLine(disk) + ".";
        for (const PartitionPlace& partition : disk.partitions)
            text += " " + PartitionLine(partition) + ".";
    }
    return text;
}
} // namespace

std::string BootChainSvg(const BootChain& chain)
{
    Svg body;
    const double height = Legend(body, std::max(ChainColumn(body, chain), DiskColumn(body, chain)) + 18);
    std::ostringstream out;
    out << "<svg class=\"chain\" viewBox=\"-4 -4 " << Number(kWidth + 8) << " " << Number(height + 8)
        << "\" width=\"100%\" role=\"img\" aria-labelledby=\"chain-title chain-desc\" font-family=\"sans-serif\">\n"
        << "<title id=\"chain-title\">Boot chain and disks</title>\n<desc id=\"chain-desc\">" << Escaped(Description(chain)) << "</desc>\n"
        << body.out.str() << "</svg>\n";
    return out.str();
}
} // namespace report
