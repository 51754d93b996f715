// What the page's files may have in them: the policy that they are served with lets nothing else work.
#include "host/web/page/PageFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace bmhost;

constexpr std::size_t MostBytes = std::size_t{150} * 1024;

std::string TextOf(std::string_view name) {
    for (const PageFile& file : PageFiles()) {
        if (file.m_name == name) return std::string(file.m_bytes);
    }
    ADD_FAILURE() << "the page has no file " << name;
    return "";
}

std::vector<std::string> Found(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern, std::regex::icase);
    std::vector<std::string> found;
    for (std::sregex_iterator each(text.begin(), text.end(), regex), end; each != end; ++each)
        found.push_back((*each)[each->size() - 1].str());
    return found;
}

TEST(PageFiles, AreSmall) {
    std::size_t size = 0;
    for (const PageFile& file : PageFiles()) {
        EXPECT_FALSE(file.m_bytes.empty()) << file.m_name;
        size += file.m_bytes.size();
    }
    EXPECT_GT(size, 0U);
    EXPECT_LT(size, MostBytes);
}

TEST(PageFiles, NameNoOtherServer) {
    for (const PageFile& file : PageFiles()) {
        for (const std::string& url : Found(std::string(file.m_bytes), "((?:[a-z]+:)//[^\"' )>]*)"))
            EXPECT_EQ(url, "http://www.w3.org/2000/svg") << file.m_name << ": a name only, which nobody fetches";
        EXPECT_TRUE(Found(std::string(file.m_bytes), "([\"'(=]//[a-z0-9])").empty()) << file.m_name;
    }
}

TEST(PageFiles, NoScriptAndNoStyleStandInThePage) {
    const std::string page = TextOf("index.html");
    const auto scripts = Found(page, "(<script[^>]*>[^<]*)");
    EXPECT_FALSE(scripts.empty());
    for (const std::string& script : scripts)
        EXPECT_TRUE(std::regex_match(script, std::regex("<script type=\"module\" src=\"[^\"]+\">"))) << script;
    EXPECT_THAT(Found(page, "(<style|<base|<iframe|<object|<embed|http-equiv)"), testing::IsEmpty());
    EXPECT_THAT(Found(page, "([\\s\"](?:style|on[a-z]+)\\s*=\\s*[\"'])"), testing::IsEmpty());
    EXPECT_THAT(Found(page, "=\"\\s*(javascript:|data:)"), testing::IsEmpty());
}

TEST(PageFiles, NoTextBecomesMarkupOrCode) {
    for (const PageFile& file : PageFiles()) {
        if (!file.m_name.ends_with(".js")) continue;
        EXPECT_THAT(Found(std::string(file.m_bytes), "(innerHTML|outerHTML|insertAdjacentHTML|document\\.write|setHTML|"
                                                     "DOMParser|createContextualFragment|srcdoc|\\beval\\b|"
                                                     "new Function|setAttribute\\(\"(?:style|on)|localStorage|"
                                                     "sessionStorage|indexedDB|document\\.cookie)"),
                    testing::IsEmpty())
            << file.m_name;
    }
}

TEST(PageFiles, EveryFileIsReferredToAndIsThere) {
    std::set<std::string> reached = {"index.html"};
    std::vector<std::string> open = {"index.html"};
    while (!open.empty()) {
        const std::string name = open.back();
        open.pop_back();
        const std::string text = TextOf(name);
        auto referred = name.ends_with(".js") ? Found(text, "from \"\\./([^\"]+)\"")
                                              : Found(text, "(?:href|src)=\"(?:/page/)?([^\"#]+)\"");
        for (std::string& other : referred) {
            if (reached.insert(other).second) open.push_back(other);
        }
    }
    std::set<std::string> all;
    for (const PageFile& file : PageFiles())
        all.emplace(file.m_name);
    EXPECT_EQ(reached, all);
}

TEST(PageFiles, TheScriptNamesOnlyElementsThatThereAre) {
    std::set<std::string> ids;
    for (const std::string& id : Found(TextOf("index.html"), "\\sid=\"([^\"]+)\""))
        EXPECT_TRUE(ids.insert(id).second) << "two elements " << id;
    const auto used = Found(TextOf("main.js"), "byId\\(\"([^\"]+)\"\\)");
    EXPECT_FALSE(used.empty());
    for (const std::string& id : used)
        EXPECT_TRUE(ids.contains(id)) << id;
    for (const std::string& id : Found(TextOf("index.html"), "aria-(?:labelledby|describedby)=\"([^\"]+)\""))
        EXPECT_TRUE(ids.contains(id)) << id;
}

} // namespace
