// The C++ interface <velkc.hpp> used the way a service uses it: containers
// filled, iterated and moved while their blocks move, errors read as
// std::error_code, and a configuration file written and read back.

#include <velkc.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#if __cplusplus >= 202002L
static_assert(std::forward_iterator<velkc::List::const_iterator>);
static_assert(std::forward_iterator<velkc::Hash::const_iterator>);
#endif

namespace {

using Map = std::map<std::string, std::string>;

std::string Name(int i) { return "name-" + std::to_string(i); }

Map ToMap(const velkc::Hash &hash)
{
    Map pairs;
    for (auto [key, value] : hash) {
        EXPECT_TRUE(pairs.emplace(key, value).second) << key;
    }
    return pairs;
}

template <class Container>
std::vector<std::string> Items(const Container &container)
{
    return {container.begin(), container.end()};
}

TEST(CxxContainers, ListGrowsAndMovesWithItsHandle)
{
    velkc::List list;
    std::vector<std::string> model;
    int moves = 0;
    for (int i = 0; i < 2000; ++i) {
        const SzList *before = list.get();
        const velkc::Result<std::size_t> at = list.push_back(Name(i));
        ASSERT_TRUE(at) << at.error().message();
        EXPECT_EQ(*at, static_cast<std::size_t>(i));
        moves += before != nullptr && list.get() != before;
        model.push_back(Name(i));
    }
    EXPECT_GT(moves, 3);
    EXPECT_EQ(Items(list), model);
    EXPECT_EQ(list.find("name-1999"), 1999u);
    EXPECT_EQ(list.find_caseless("NAME-7"), 7u);
    EXPECT_FALSE(list.find("name-2000"));

    velkc::List moved = std::move(list);
    EXPECT_TRUE(list.empty()); // a moved-from handle is empty and usable
    EXPECT_EQ(list.begin(), list.end());
    ASSERT_TRUE(list.push_front("again"));
    EXPECT_EQ(Items(list), std::vector<std::string>{"again"});

    EXPECT_EQ(moved.pop_back(), "name-1999");
    EXPECT_EQ(moved.pop_front(), "name-0");
    EXPECT_FALSE(moved.erase(moved.size()));
    EXPECT_EQ(moved.size(), 1998u);
    moved = std::move(list); // frees the larger block
    EXPECT_EQ(moved[0], "again");
}

// Sorting into the other order really re-sorts; searches work in either
// order, and holes left by an insertion beyond the end are never found.
TEST(CxxContainers, ListSortsEitherWayAndSkipsHoles)
{
    velkc::List list;
    for (const char *item : {"b", "C", "a", "d"}) {
        ASSERT_TRUE(list.push_back(item));
    }
    ASSERT_FALSE(list.sort(velkc::Order::bytewise));
    EXPECT_EQ(Items(list), (std::vector<std::string>{"C", "a", "b", "d"}));
    EXPECT_EQ(list.push_back("B").value_or(99), 0u); // sorted place, not the end
    ASSERT_FALSE(list.sort(velkc::Order::caseless));
    EXPECT_EQ(list.order(), velkc::Order::caseless);
    ASSERT_TRUE(list.erase(0) == "a");
    EXPECT_EQ(list.find_caseless("c"), 2u);
    EXPECT_EQ(list.find("C"), 2u);
    EXPECT_FALSE(list.find("c"));

    velkc::List holes;
    ASSERT_EQ(holes.insert(3, "x").value_or(99), 3u);
    EXPECT_EQ(Items(holes), (std::vector<std::string>{"", "", "", "x"}));
    EXPECT_FALSE(holes.find(""));
}

TEST(CxxContainers, HashAndSetKeepEveryEntryThroughGrowth)
{
    velkc::Hash hash;
    velkc::HashSet set;
    Map model;
    int moves = 0;
    for (int i = 0; i < 1000; ++i) {
        const SzHash *before = hash.get();
        ASSERT_FALSE(hash.set(Name(i), std::string(i % 40, 'v')));
        ASSERT_FALSE(set.insert(Name(i % 500)));
        moves += before != nullptr && hash.get() != before;
        model[Name(i)] = std::string(i % 40, 'v');
    }
    EXPECT_GT(moves, 2);
    ASSERT_FALSE(hash.set("name-1", "a value longer than before"));
    model["name-1"] = "a value longer than before";
    EXPECT_EQ(ToMap(hash), model);
    EXPECT_EQ(hash.find("name-1"), "a value longer than before");
    EXPECT_TRUE(hash.erase("name-2"));
    EXPECT_FALSE(hash.erase("name-2"));
    EXPECT_FALSE(hash.contains("name-2"));
    EXPECT_EQ(hash.size(), 999u);

    velkc::Result<velkc::List> keys = hash.keys();
    ASSERT_TRUE(keys);
    EXPECT_EQ(keys->size(), 999u);

    EXPECT_EQ(set.size(), 500u);
    const std::vector<std::string> items = Items(set);
    EXPECT_EQ(std::set<std::string>(items.begin(), items.end()).size(), 500u);
    EXPECT_TRUE(set.erase("name-499"));
    EXPECT_FALSE(set.erase("name-499"));
    EXPECT_EQ(set.to_list()->size(), 499u);

    velkc::HashSet moved_set = std::move(set);
    velkc::Hash moved_hash = std::move(hash);
    EXPECT_TRUE(set.empty() && hash.empty() && set.begin() == set.end() && hash.begin() == hash.end());
    EXPECT_FALSE(set.contains("name-1") || hash.contains("name-1"));
    EXPECT_TRUE(moved_set.contains("name-1") && moved_hash.contains("name-1"));
    moved_hash.clear();
    EXPECT_EQ(moved_hash.begin(), moved_hash.end());
}

class CxxConfig : public ::testing::Test {
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/velkc_cxx.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        dir_ = dir;
    }
    void TearDown() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    std::string Path(const char *name) const { return dir_ + "/" + name; }

    std::string dir_;
};

TEST_F(CxxConfig, ErrorsCarryTheLibraryCodesAndMessages)
{
    const velkc::Result<std::string> missing = velkc::file::get_value(Path("none/x.conf"), "k");
    ASSERT_FALSE(missing);
    const std::error_code error = missing.error();
    EXPECT_STREQ(error.category().name(), "velkc");
    EXPECT_EQ(error.value(), ERR_OPEN_FAILED);
    EXPECT_EQ(error, velkc::errc::open_failed);
    EXPECT_FALSE(error.message().empty());
    EXPECT_EQ(error.message(), VELKCErrString(ERR_OPEN_FAILED));

    const std::string conf = Path("a.conf");
    const std::error_code refused = velkc::file::set_value(conf, "a=b", "v");
    EXPECT_EQ(refused, velkc::errc::bad_parameters);
    EXPECT_EQ(refused, std::errc::invalid_argument);
    using namespace std::string_view_literals;
    EXPECT_EQ(velkc::file::set_value(conf, "k"sv, "v\0tail"sv), velkc::errc::bad_parameters);
    EXPECT_FALSE(std::filesystem::exists(conf));
    ASSERT_FALSE(velkc::file::set_value(conf, "k", "v"));
    EXPECT_EQ(velkc::file::get_value(conf, "other").error(), velkc::errc::key_not_found);
    EXPECT_EQ(velkc::file::remove_key(conf, "other").error(), velkc::errc::key_not_found);

    EXPECT_EQ(VELKCSzListGet(nullptr, 0), nullptr);
    EXPECT_EQ(velkc::last_error(), velkc::errc::bad_parameters);
}

TEST_F(CxxConfig, KeysAndSectionsRoundTrip)
{
    const std::string conf = Path("svc.conf");
    const std::string long_value(300, 'L'); // longer than the first read takes
    ASSERT_FALSE(velkc::file::set_value(conf, "name", "svc"));
    ASSERT_FALSE(velkc::file::set_value(conf, "quoted", "a b", "%s=\"%s\"\n"));
    ASSERT_FALSE(velkc::file::set_value(conf, "long", long_value));
    EXPECT_EQ(velkc::file::get_value(conf, "quoted").value_or(""), "a b");
    EXPECT_EQ(velkc::file::get_value(conf, "long").value_or(""), long_value);
    EXPECT_EQ(velkc::file::remove_key(conf, "long").value_or(0), 1);

    std::ofstream(conf, std::ios::app) << "dup=1\ndup=2\n";
    EXPECT_EQ(velkc::file::get_value(conf, "dup").value_or(""), "1");
    EXPECT_EQ(velkc::file::get_value(conf, "dup", velkc::file::Occurrence::last).value_or(""), "2");

    velkc::Hash pairs;
    ASSERT_FALSE(pairs.set("ip", "10.0.0.1"));
    ASSERT_FALSE(pairs.set("mask", "8"));
    EXPECT_EQ(velkc::file::add_section(conf, "net", pairs).value_or(false), true);
    EXPECT_EQ(velkc::file::add_section(conf, "net", velkc::Hash()).value_or(true), false);
    EXPECT_EQ(ToMap(*velkc::file::get_section(conf, "net")), (Map{{"ip", "10.0.0.1"}, {"mask", "8"}}));
    EXPECT_TRUE(velkc::file::get_section(conf, "absent")->empty());

    ASSERT_FALSE(pairs.set("ip", "10.0.0.2"));
    ASSERT_FALSE(velkc::file::replace_section(conf, "net", pairs, "lan"));
    EXPECT_EQ(Items(*velkc::file::section_names(conf)), std::vector<std::string>{"lan"});
    EXPECT_EQ(velkc::file::get_section(conf, "lan")->find("ip"), "10.0.0.2");
    ASSERT_FALSE(velkc::file::remove_section(conf, "lan"));
    EXPECT_EQ(velkc::file::remove_section(conf, "lan"), velkc::errc::key_not_found);
    EXPECT_TRUE(velkc::file::section_names(conf)->empty());

    velkc::Hash set;
    velkc::Hash drop;
    ASSERT_FALSE(set.set("name", "renamed"));
    ASSERT_FALSE(set.set("new", "1"));
    ASSERT_FALSE(drop.set("quoted", ""));
    ASSERT_FALSE(velkc::file::set_keys(conf, set, drop));
    EXPECT_EQ(ToMap(*velkc::file::get_pairs(conf)), (Map{{"name", "renamed"}, {"new", "1"}, {"dup", "2"}}));
    EXPECT_EQ(set.size(), 2u); // the caller's tables are left alone
    EXPECT_EQ(drop.size(), 1u);
}

// A transaction: what it reads and changes is the locked state; only a
// commit writes, and a transaction that goes out of scope writes nothing.
TEST_F(CxxConfig, EditsCommitOrVanish)
{
    const std::string conf = Path("shares.conf");
    std::ofstream(conf) << "[share]\n   path = /srv\n";
    ASSERT_FALSE(velkc::file::set_section_value(conf, "share", "guest", "no"));
    EXPECT_EQ(velkc::file::remove_section_key(conf, std::nullopt, "path").error(), velkc::errc::key_not_found);
    {
        velkc::Result<velkc::file::Edit> edit = velkc::file::Edit::open(conf);
        ASSERT_TRUE(edit);
        velkc::file::Edit moved = std::move(*edit);
        EXPECT_FALSE(*edit);
        ASSERT_FALSE(moved.set("share", "path", "/srv/new"));
        EXPECT_EQ(moved.get("share", "path").value_or(""), "/srv/new");
        EXPECT_EQ(moved.get("other", "path").error(), velkc::errc::section_not_found);
    } // abandoned
    velkc::Result<velkc::file::Edit> edit = velkc::file::Edit::open(conf);
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->get("share", "path").value_or(""), "/srv");
    EXPECT_EQ(Items(*edit->keys("share")), (std::vector<std::string>{"path", "guest"}));
    EXPECT_EQ(edit->add_section("share").value_or(true), false);
    ASSERT_FALSE(edit->rename_section("share", "public"));
    EXPECT_EQ(edit->remove("public", "guest").value_or(0), 1);
    ASSERT_FALSE(edit->set(std::nullopt, "workgroup", "HOME"));
    EXPECT_EQ(edit->text(true).value_or(""), "[share]\n   path = /srv\n   guest = no\n");
    EXPECT_EQ(edit->commit().value_or(false), true);
    EXPECT_FALSE(*edit);
    std::ifstream in(conf);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text, "workgroup = HOME\n[public]\n   path = /srv\n");
}

} // namespace
