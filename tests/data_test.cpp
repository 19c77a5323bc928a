// SPDX-License-Identifier: GPL-3.0-or-later
// Walks the shipped tables and the help file line by line, with a reader of its own.
#include <map>
#include <set>
#include <sstream>

#include "tests/session.h"

namespace {

std::vector<std::string> lines(const char* file)
{
    std::istringstream all(filecontent(std::string(DATA_DIR) + "/" + file));
    std::vector<std::string> read;
    for (std::string line; std::getline(all, line);) read.push_back(line);
    return read;
}

std::string columns(const std::string& line, std::size_t i, std::size_t j)
{
    const std::string field = line.size() < i ? "" : line.substr(i - 1, j - i + 1);
    return field.substr(0, field.find_last_not_of(' ') + 1);
}

}  // namespace

TEST(Tables, ElementsMatchTheCoefficients)
{
    const auto list = lines("elements.dat"), table = lines("attenuation.coefficients");
    ASSERT_EQ(list.size(), 82u);
    std::uint64_t checksum = 0xcbf29ce484222325u;  // FNV-1a of the published rows
    int published = 0, added = 0, edges = 0;
    std::size_t at = 0;
    for (std::size_t z = 1; z <= 82; ++z) {
        EXPECT_EQ(std::stoul(list[z - 1]), z);
        EXPECT_EQ(columns(table.at(at), 2, 80), columns(list[z - 1], 17, 28));
        EXPECT_EQ(std::stoul(columns(table[at + 1], 4, 10)), z);
        at += 8;
        double before = 0.0;
        const std::size_t first = at;
        for (; table[at].size() == 36 && table[at][4] == '.'; ++at) {
            const std::string& line = table[at];
            const double energy = std::stod(columns(line, 4, 14));
            const bool plus = line[1] == '+', upper = line[0] >= 'K' && line[0] <= 'N';
            EXPECT_GT(std::stod(columns(line, 17, 25)) * std::stod(columns(line, 28, 36)), 0.0);
            EXPECT_TRUE(upper ? energy == before && !plus : energy > before) << line;
            before = energy;
            edges += upper;
            ++(plus ? added : published);
            for (char c : plus ? "" : line + "\n") {
                checksum = (checksum ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
            }
        }
        EXPECT_TRUE(at - first >= 38 && at - first <= 64) << z;
    }
    EXPECT_EQ(at + 1, table.size());  // one line after lead
    EXPECT_EQ(std::tuple(published, added, edges), std::tuple(3859, 1389, 364));
    EXPECT_EQ(checksum, 0x937252305ec1948au);
}

TEST(Tables, DensitiesCanBeToldApart)
{
    std::map<std::size_t, std::set<std::string>> seen;
    std::size_t last = 0, count = 0;
    for (const std::string& line : lines("dichte.dat")) {
        const auto z = std::strtoul(line.substr(0, 8).c_str(), nullptr, 10);
        if (z == 0) continue;
        EXPECT_TRUE(z == last || z == last + 1) << line;
        last = z;
        EXPECT_TRUE(seen[z].insert(columns(line, 9, 18)).second && line.size() <= 74) << line;
        const double density = std::stod(columns(line, 39, 80));
        EXPECT_TRUE(density > 0.08 && density < 22.7) << line;
    }
    for (const auto& [z, names] : seen) count += names.size();
    EXPECT_EQ(std::pair(count, last), std::pair(std::size_t{136}, std::size_t{82}));
}

TEST(HelpFile, HasEveryKeyAndLink)
{
    std::set<std::string> keys, reached;
    std::map<std::string, std::vector<std::string>> links;
    std::string key;
    for (const std::string& line : lines("attenuation.help")) {
        const auto printing = [](char c) { return c >= ' ' && c < 127; };
        EXPECT_TRUE(line.size() < 80 && std::all_of(line.begin(), line.end(), printing)) << line;
        if (!line.starts_with("/")) continue;
        if (line[1] == '#' || line[1] == '>') links[key].push_back(line.substr(2));
        else EXPECT_TRUE(keys.insert(key = line.substr(1)).second) << line;
    }
    const std::function<void(std::string, int)> reach = [&](const std::string& k, int level) {
        if (k.starts_with("more ")) {
            const std::string name = "/dvifiles/" + k.substr(5) + "/" + k.substr(5);
            EXPECT_TRUE(std::filesystem::exists(DATA_DIR + name + ".dvi"));
        } else if (k.starts_with("details ")) {
            EXPECT_TRUE(std::filesystem::exists(DATA_DIR + k.substr(k.rfind('/'))));
        } else {
            EXPECT_TRUE(keys.contains(k)) << k;
            reached.insert(k);
            if (level < 4) for (const std::string& link : links[k]) reach(link, level + 1);
        }
    };
    // The keys that the program asks for; those that begin with "read/" stand in its source.
    const std::string source = filecontent(DATA_DIR "/../calc/attenuation.cpp");
    for (std::size_t at = 0; (at = source.find("\"read/", at)) != source.npos; ++at) {
        reach(source.substr(at + 1, source.find('"', at + 1) - at - 1), 0);
    }
    for (const char* k : {"tano/script/alteration", "back/energy", "back/density", "back/mgcm2",
                          "back/element", "back/compound"}) reach(k, 0);
    EXPECT_EQ(keys, reached);  // no entry is out of reach
}
