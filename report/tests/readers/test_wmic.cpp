// wmic's tables: columns cut by the console's cells, the disks and the updates.
#include "fixtures/support.h"
#include "read/wmic.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;

namespace
{
// A table made in the test, padded as wmic pads (each column its widest value's cells and two
// more); `cells` gives each value's width, counted here by hand.
struct Column
{
    std::string heading, value;
    size_t cells;
};

std::string Table(const std::vector<Column>& columns)
{
    std::string header, row;
    for (const Column& column : columns)
    {
        const size_t width = std::max(column.heading.size(), column.cells) + 2;
        header += column.heading + std::string(width - column.heading.size(), ' ');
        row += column.value + std::string(width - column.cells, ' ');
    }
    return header + "\r\r\n" + row + "\r\r\n\r\r\n";
}

// A Japanese disk's description (8 letters of two cells, one space) before the columns read.
const std::vector<Column> kJapaneseDisk = {{"Description", "ディスク ドライブ", 17},
                                           {"DeviceID", "\\\\.\\PHYSICALDRIVE1", 18},
                                           {"Index", "1", 1},
                                           {"Model", "WDC WD10EZEX-60WN4A1", 20},
                                           {"Signature", "", 0},
                                           {"Size", "1000202273280", 13},
                                           {"Status", "OK", 2}};
} // namespace

class WmicSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(WmicSpeech, ReadsTheDiskTableByItsColumns)
{
    const std::vector<Disk> disks = DisksFromWmic(ParseWmicTable(Captured(fixtures::WmicDisksOutput(GetParam()))));
    ASSERT_EQ(1u, disks.size());
    EXPECT_EQ("0", disks[0].index);
    EXPECT_EQ("SAMPLE DISK 0", disks[0].model);
    EXPECT_TRUE(disks[0].Mbr());
    EXPECT_EQ(fixtures::kDiskSignature, disks[0].SignatureValue());
    EXPECT_TRUE(disks[0].sizeKnown);
    EXPECT_EQ(fixtures::kDiskSize, disks[0].size);
    EXPECT_EQ("3", disks[0].partitions);
    EXPECT_EQ("OK", disks[0].status);
    EXPECT_EQ(2u, disks[0].line);
    EXPECT_TRUE(disks[0].unread.empty());
}

INSTANTIATE_TEST_SUITE_P(Forms, WmicSpeech, testing::Values(Speech::Utf8, Speech::Field));

TEST(WmicColumns, WideLettersMoveTheValuesAfterThemByTheirCells)
{
    const Text utf8 = Captured(Table(kJapaneseDisk));
    ASSERT_EQ(0u, utf8.lostCharacters);
    const std::vector<Disk> disks = DisksFromWmic(ParseWmicTable(utf8));
    ASSERT_EQ(1u, disks.size());
    EXPECT_EQ("1", disks[0].index);
    EXPECT_EQ("WDC WD10EZEX-60WN4A1", disks[0].model);
    EXPECT_FALSE(disks[0].Mbr());
    EXPECT_TRUE(disks[0].signatureListed);
    EXPECT_EQ(1000202273280ull, disks[0].size);
    EXPECT_EQ("OK", disks[0].status);
}

TEST(WmicColumns, LettersLostToTheCollectorAreSettledByTheNextValue)
{
    // In UTF-16 through the collector's UTF-8 decoding the katakana are lost: their widths are
    // unknown, and the device's value, which starts its column, tells them.
    const Text field = Captured(fixtures::Utf16Le(Table(kJapaneseDisk)));
    ASSERT_GT(field.lostCharacters, 0u);
    const WmicTable table = ParseWmicTable(field);
    ASSERT_EQ(1u, table.rows.size());
    EXPECT_NE(std::string::npos, table.Cell(table.rows[0], "Description").find("\xEF\xBF\xBD")) << "its letters stay lost";
    const std::vector<Disk> disks = DisksFromWmic(table);
    EXPECT_EQ("1", disks[0].index);
    EXPECT_EQ("WDC WD10EZEX-60WN4A1", disks[0].model);
    EXPECT_EQ(1000202273280ull, disks[0].size);
    EXPECT_EQ("OK", disks[0].status);
    EXPECT_TRUE(disks[0].unread.empty());
}

TEST(WmicColumns, ACellThatTwoColumnsCouldHoldStaysUnread)
{
    // Four lost letters of one or two cells, then an empty column: "OK" may start either of the
    // two columns after the description.
    const Text field = Captured(fixtures::Utf16Le(
        Table({{"Description", "ディスク", 8}, {"X", "", 0}, {"Status", "OK", 2}})));
    const WmicTable table = ParseWmicTable(field);
    ASSERT_EQ(1u, table.rows.size());
    bool read = true;
    EXPECT_EQ("", table.Cell(table.rows[0], "Status", &read));
    EXPECT_FALSE(read);
    const std::vector<Disk> disks = DisksFromWmic(table);
    EXPECT_EQ(std::vector<std::string>{"Status"}, disks[0].unread);
    EXPECT_EQ("", disks[0].status);
}

TEST(WmicColumns, TheDiskNumberComesFromTheDeviceWithoutAnIndexColumn)
{
    const std::vector<Disk> disks = DisksFromWmic(
        ParseWmicTable(Captured(Table({{"DeviceID", "\\\\.\\PHYSICALDRIVE12", 19}, {"Model", "SAMPLE DISK", 11}}))));
    ASSERT_EQ(1u, disks.size());
    EXPECT_EQ("12", disks[0].index);
    EXPECT_FALSE(disks[0].signatureListed) << "no Signature column: no partition style";
}

TEST(WmicDisks, ASignatureOfZeroIsNoMbrDisk)
{
    // An uninitialised disk lists 0: no boot store device can name it by signature.
    const std::vector<Disk> disks = DisksFromWmic(ParseWmicTable(
        Captured(Table({{"Index", "2", 1}, {"Model", "SAMPLE BLANK DISK", 17}, {"Signature", "0", 1}}))));
    ASSERT_EQ(1u, disks.size());
    EXPECT_TRUE(disks[0].signatureListed);
    EXPECT_EQ("0", disks[0].signature);
    EXPECT_FALSE(disks[0].Mbr());
}

TEST(WmicColumns, AValueNeverStartsInsideAnother)
{
    // Two spaces inside a value do not open a column.
    const WmicTable table = ParseWmicTable(Captured(Table({{"Caption", "SAMPLE  DISK", 12}, {"Status", "OK", 2}})));
    EXPECT_EQ("SAMPLE  DISK", table.Cell(table.rows.at(0), "Caption"));
    EXPECT_EQ("OK", table.Cell(table.rows.at(0), "Status"));
}

TEST(WmicUpdates, OneUpdateARow)
{
    const std::string listing = "Description      HotFixID   InstalledOn  \r\r\nUpdate           KB5012170  8/9/2022     \r\r\n"
                                "Security Update  KB5031539  10/10/2023   \r\r\n\r\r\n";
    EXPECT_EQ(2, CountWmicUpdates(ParseWmicTable(Captured(fixtures::Utf16Le(listing)))));
    EXPECT_EQ(-1, CountWmicUpdates(ParseWmicTable(Captured(fixtures::WmicDisksOutput(Speech::Utf8)))));
}

TEST(WmicTable, KeepsABoundedNumberOfRows)
{
    std::string listing = "Description  HotFixID   \r\r\n";
    for (size_t i = 0; i < kMaxWmicRows + 5; ++i)
        listing += "Update       KB1000000  \r\r\n";
    const WmicTable table = ParseWmicTable(Captured(listing));
    EXPECT_EQ(kMaxWmicRows, table.rows.size());
    EXPECT_TRUE(table.rowsLeftOut);
}
