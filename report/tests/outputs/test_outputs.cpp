// The three kinds of output: JSON, the HTML page and the terminal text.
#include "fixtures/support.h"
#include "show/render.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::RunReport;
using testing_support::SampleZip;

TEST(Output, JsonIsValidAndCarriesIdsSeveritiesEvidenceAndAdvice)
{
    std::string out;
    ASSERT_EQ(0, RunReport("--json " + SampleZip(), out));
    const std::string file = fixtures::TempDir() + "/report.json";
    fixtures::WriteFile(file, out);
    const std::string check =
        "python3 -c \"import json,sys; r=json.load(open(sys.argv[1])); f=r['findings'];"
        "assert r['machine']['host']=='SAMPLE-PC', r['machine'];"
        "assert r['run']=='normal';"
        "assert all(set(x) >= {'id','severity','title','evidence','advice'} for x in f);"
        "assert [x['severity'] for x in f]==sorted([x['severity'] for x in f], key=['error','warning','info'].index);"
        "d=[x for x in f if x['id']=='drivers.no-driver-on-machine'][0];"
        "assert d['evidence'][0]=={'entry':'devices.txt','line':1,'text':d['evidence'][0]['text']}, d\" " + file;
    EXPECT_EQ(0, std::system(check.c_str())) << out;
}

TEST(Output, JsonWritesBytesThatAreNotUtf8AsReplacementCharacters)
{
    Report report;
    report.Add("collection.missing-file", Severity::Info, "name \xFF" "end", "");
    std::string json;
    ASSERT_NO_THROW(json = RenderJson(report));
    EXPECT_NE(std::string::npos, json.find("\"name \xEF\xBF\xBD" "end\"")) << json;
}

TEST(Output, HtmlIsOneSelfContainedPageWithItsTextEscaped)
{
    fixtures::Bundle bundle = fixtures::SampleBundle();
    bundle.Set("mpdiag.log", "09:00:00 ! Item not copied: <script>alert(1)</script> & more\r\n");
    const std::string page = fixtures::TempDir() + "/report.html";
    std::string out;
    ASSERT_EQ(0, RunReport("--html " + page + " " + bundle.Write(fixtures::TempDir() + "/mpdiag.zip"), out));
    const std::string html = fixtures::ReadFile(page);
    EXPECT_EQ(0u, html.find("<!DOCTYPE html>"));
    EXPECT_NE(std::string::npos, html.find("&lt;script&gt;alert(1)&lt;/script&gt; &amp; more"));
    for (const char* external : {"<script", "src=", "href=", "@import", "url("})
        EXPECT_EQ(std::string::npos, html.find(external)) << external;
    EXPECT_NE(std::string::npos, out.find("Findings (")) << "the terminal report is printed as well";
}

TEST(Output, AnHtmlFileThatCannotBeWrittenIsAnError)
{
    std::string out, err;
    EXPECT_EQ(1, RunReport("--html /nonexistent-folder/report.html " + SampleZip(), out, &err));
    EXPECT_NE(std::string::npos, err.find("cannot write")) << err;
}

TEST(Output, EachOutputSaysHowTheMachinesFactsWereRead)
{
    fixtures::Bundle bundle = fixtures::SampleBundle(fixtures::Speech::Unlisted);
    const std::string zip = bundle.Write(fixtures::TempDir() + "/mpdiag.zip");
    std::string json, text;
    ASSERT_EQ(0, RunReport("--json " + zip, json));
    const std::string file = fixtures::TempDir() + "/report.json";
    fixtures::WriteFile(file, json);
    const std::string check =
        "python3 -c \"import json,sys; m=json.load(open(sys.argv[1]))['machine'];"
        "assert m['how_read']=={'host':'position in the listing','os_name':'position in the listing',"
        "'os_version':'shape of the value','build':'shape of the value','architecture':'shape of the value',"
        "'windows_pe':'shape of the value'}, m;"
        "assert m['updates']=='2' and m['labels_language']=='', m\" " + file;
    EXPECT_EQ(0, std::system(check.c_str())) << json;
    const std::string page = fixtures::TempDir() + "/report.html";
    ASSERT_EQ(0, RunReport("--html " + page + " " + zip, text));
    EXPECT_NE(std::string::npos, text.find("  Read by:     host, os_name: position in the listing; os_version, build, architecture, "
                                           "windows_pe: shape of the value\n"))
        << text;
    EXPECT_NE(std::string::npos, fixtures::ReadFile(page).find("<td>Read by</td><td>host, os_name: position in the listing;"));
}
