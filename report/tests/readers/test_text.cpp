// Reading the archive's text files: the collector's UTF-8, UTF-16 that it read as UTF-8,
// code-page output, and the system's own files in their encodings.
#include "fixtures/support.h"
#include "read/text.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::CollectorSaves;
using testing_support::DecodeSaved;

namespace
{
std::string Joined(const Text& text)
{
    std::string out;
    for (const std::string& line : text.lines)
        out += line + "|";
    return out;
}
} // namespace

TEST(CollectorSaves, KeepsUtf16ZerosAndTurnsTheByteOrderMarkIntoTwoReplacements)
{
    // As measured under Wine: EF BF BD EF BF BD 48 00 6F 00 ...; the next line starts with a zero.
    const std::string saved = CollectorSaves(fixtures::Utf16Le("Ho\r\nX\r\n"));
    EXPECT_EQ(std::string("\xEF\xBF\xBD\xEF\xBF\xBD" "H\0o\0\r\0\r\n\0X\0\r\0\r\n\0\r\n", 24), saved);
}

TEST(DecodeCapturedOutput, RebuildsUtf16WmicOutputExactlyForAsciiText)
{
    const std::string table = "Caption            Size         \r\r\nSAMPLE DISK 0      64424509440  \r\r\n\r\r\n";
    const Text text = DecodeSaved(CollectorSaves(fixtures::Utf16Le(table)));
    EXPECT_EQ(TextForm::Utf16ReadAsUtf8, text.form);
    EXPECT_EQ("Caption            Size         |SAMPLE DISK 0      64424509440  ||", Joined(text));
    EXPECT_EQ(0u, text.lostCharacters) << "the byte-order mark's two replacements are not losses";
}

TEST(DecodeCapturedOutput, CountsEachReplacementBeyondTheByteOrderMarkAsALostCharacter)
{
    // "Jürgen": ü is FC 00 in UTF-16LE; FC is no UTF-8 and is lost, the 00 stays.
    const Text text = DecodeSaved(CollectorSaves(fixtures::Utf16Le("J\xC3\xBCrgen\r\nM\xC3\xBCller \xC3\xA9t\xC3\xA9\r\n")));
    EXPECT_EQ(TextForm::Utf16ReadAsUtf8, text.form);
    EXPECT_EQ(4u, text.lostCharacters);
    ASSERT_EQ(2u, text.lines.size());
    EXPECT_EQ("J\xEF\xBF\xBDrgen", text.lines[0]);
    EXPECT_EQ("M\xEF\xBF\xBDller \xEF\xBF\xBDt\xEF\xBF\xBD", text.lines[1]);
}

TEST(DecodeCapturedOutput, RecognisesUtf16WithoutAByteOrderMarkByItsZeros)
{
    const Text text = DecodeSaved(CollectorSaves(fixtures::Utf16Le("Index  Size\r\n0      100\r\n", false)));
    EXPECT_EQ(TextForm::Utf16ReadAsUtf8, text.form);
    EXPECT_EQ("Index  Size|0      100|", Joined(text));
    EXPECT_EQ(0u, text.lostCharacters);
}

TEST(DecodeCapturedOutput, ReadsUtf8LinesAndDropsTheirCarriageReturns)
{
    const Text text = DecodeSaved(CollectorSaves("a\r\n\r\nb \xC3\x9C\r\n"));
    EXPECT_EQ(TextForm::Utf8, text.form);
    EXPECT_EQ("a||b \xC3\x9C|", Joined(text));
    EXPECT_EQ(0u, text.lostCharacters);
}

TEST(DecodeCapturedOutput, CountsCodePageLettersLostAsReplacements)
{
    const Text text = DecodeSaved(CollectorSaves(fixtures::Cp850("Startgerät: Österreich\r\n")));
    EXPECT_EQ(TextForm::Utf8, text.form);
    EXPECT_EQ(2u, text.lostCharacters);
    EXPECT_EQ("Startger\xEF\xBF\xBDt: \xEF\xBF\xBDsterreich|", Joined(text));
}

TEST(DecodeCapturedOutput, NamesBytesThatAreNotUtf8WithoutCountingThemAsLostLetters)
{
    // Bytes the collector never writes: damage, not the code page's loss.
    Text text;
    std::string problem;
    ASSERT_TRUE(DecodeCapturedOutput("a\xFF" "b\r\n", text, problem));
    EXPECT_EQ("a\xEF\xBF\xBD" "b|", Joined(text));
    EXPECT_EQ(0u, text.lostCharacters);
    EXPECT_EQ("1 bytes that are not UTF-8, read as U+FFFD", problem);
}

TEST(DecodeCapturedOutput, RefusesBinaryData)
{
    Text text;
    std::string problem;
    std::string binary;
    for (int i = 0; i < 400; ++i)
        binary.push_back(static_cast<char>(i % 32 == 10 ? 1 : i % 32));
    EXPECT_FALSE(DecodeCapturedOutput(binary, text, problem));
    EXPECT_NE(std::string::npos, problem.find("binary")) << problem;
}

TEST(DecodeSystemText, ReadsUtf16LittleEndianWithItsByteOrderMark)
{
    Text text;
    std::string problem;
    ASSERT_TRUE(DecodeSystemText(fixtures::Utf16Le("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Ä]\r\n"), text, problem));
    EXPECT_EQ(TextForm::Utf16Le, text.form);
    EXPECT_EQ("Windows Registry Editor Version 5.00||[HKEY_LOCAL_MACHINE\\\xC3\x84]|", Joined(text));
}

TEST(DecodeSystemText, ReadsUtf8AndAnsiWithoutAByteOrderMark)
{
    Text text;
    std::string problem;
    ASSERT_TRUE(DecodeSystemText("REGEDIT4\r\n\"a\"=\"\xC3\xA4\"\r\n", text, problem));
    EXPECT_EQ(TextForm::Utf8, text.form);
    EXPECT_EQ("REGEDIT4|\"a\"=\"\xC3\xA4\"|", Joined(text));
    ASSERT_TRUE(DecodeSystemText("REGEDIT4\r\n\"a\"=\"\xE4\x80\"\r\n", text, problem));
    EXPECT_EQ(TextForm::Ansi, text.form);
    EXPECT_EQ("REGEDIT4|\"a\"=\"\xC3\xA4\xE2\x82\xAC\"|", Joined(text)) << "Windows-1252: E4 is ä, 80 the euro sign";
}

TEST(DecodeSystemText, ReadsUtf16WithoutItsByteOrderMark)
{
    Text text;
    std::string problem;
    ASSERT_TRUE(DecodeSystemText(fixtures::Utf16Le("REGEDIT4\r\nx\r\n", false), text, problem));
    EXPECT_EQ(TextForm::Utf16Le, text.form);
    EXPECT_EQ("REGEDIT4|x|", Joined(text));
}

// What decoding keeps of a file of any content: its lines and their length are bounded.

TEST(DecodeSystemText, KeepsTheFirstMillionLinesAndCountsTheRest)
{
    const Text text = testing_support::SystemText("first\n" + std::string(kMaxLines + 4, '\n') + "last");
    ASSERT_EQ(kMaxLines, text.lines.size());
    EXPECT_EQ("first", text.lines.front());
    EXPECT_EQ("", text.lines.back());
    EXPECT_EQ(6u, text.linesLeftOut) << "of the 1 + (kMaxLines + 4) + 1 lines";
    EXPECT_EQ(0u, text.cutLines);
}

TEST(DecodeSystemText, ANewLineAtTheEndOpensNoLineAfterTheBound)
{
    const Text text = testing_support::SystemText(std::string(kMaxLines, '\n'));
    EXPECT_EQ(kMaxLines, text.lines.size());
    EXPECT_EQ(0u, text.linesLeftOut);
}

TEST(DecodeSystemText, CutsALongLineAtTheBoundAndGoesOnWithTheNext)
{
    const Text text = testing_support::SystemText(std::string(30000, 'a') + "\r\nnext\r\n");
    ASSERT_EQ(2u, text.lines.size());
    EXPECT_EQ(std::string(kMaxLineBytes, 'a'), text.lines[0]);
    EXPECT_EQ("next", text.lines[1]);
    EXPECT_EQ(1u, text.cutLines);
    EXPECT_EQ(0u, text.linesLeftOut);
}

TEST(DecodeSystemText, CutsALineBetweenCharactersNeverInsideOne)
{
    std::string euros;
    for (int i = 0; i < 10000; ++i)
        euros += "\xE2\x82\xAC"; // €, three bytes in UTF-8
    const Text text = testing_support::SystemText(euros + "\r\n");
    ASSERT_EQ(1u, text.lines.size());
    EXPECT_EQ(kMaxLineBytes / 3 * 3, text.lines[0].size()) << "whole characters up to the bound";
    EXPECT_EQ(euros.substr(0, kMaxLineBytes / 3 * 3), text.lines[0]);
    EXPECT_EQ(1u, text.cutLines);
}

TEST(DecodeSystemText, ALineThatEndsAtTheBoundIsWholeWhateverLineEndFollows)
{
    const Text text = testing_support::SystemText(std::string(kMaxLineBytes, 'a') + "\r\r\n" + std::string(kMaxLineBytes + 1, 'b'));
    ASSERT_EQ(2u, text.lines.size());
    EXPECT_EQ(kMaxLineBytes, text.lines[0].size());
    EXPECT_EQ(kMaxLineBytes, text.lines[1].size());
    EXPECT_EQ(1u, text.cutLines) << "only the second line is longer than the bound";
}

TEST(DecodeSystemText, BoundsUtf16AsWell)
{
    const Text text = testing_support::SystemText(fixtures::Utf16Le(std::string(30000, 'x') + "\r\n" + std::string(3, '\n')));
    EXPECT_EQ(TextForm::Utf16Le, text.form);
    EXPECT_EQ(4u, text.lines.size());
    EXPECT_EQ(kMaxLineBytes, text.lines[0].size());
    EXPECT_EQ(1u, text.cutLines);
}

TEST(DecodeCapturedOutput, BoundsUtf16ThatTheCollectorReadAsUtf8)
{
    const Text text = DecodeSaved(CollectorSaves(fixtures::Utf16Le("Caption  " + std::string(20000, 'y') + "\r\nrow\r\n")));
    EXPECT_EQ(TextForm::Utf16ReadAsUtf8, text.form);
    ASSERT_EQ(2u, text.lines.size());
    EXPECT_EQ(kMaxLineBytes, text.lines[0].size());
    EXPECT_EQ("row", text.lines[1]);
    EXPECT_EQ(1u, text.cutLines);
}

TEST(DecodeCapturedOutput, SixtyFourMebibytesOfEmptyLinesKeepOnlyTheBound)
{
    const Text text = DecodeSaved(std::string(64u << 20, '\n'));
    EXPECT_EQ(kMaxLines, text.lines.size());
    EXPECT_EQ((64u << 20) - kMaxLines, text.linesLeftOut);
}
