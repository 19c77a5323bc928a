// SPDX-License-Identifier: GPL-3.0-or-later
// The shipped tables and the help file, line by line and as the program reads them.
#include <set>

#include "calc/attenuation.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

void eachline(const std::string& file, auto check)
{
    std::ifstream all(DATA_DIR "/" + file);
    for (std::string line; std::getline(all, line);) check(line);
}

}  // namespace

TEST(Tables, AreWholeAndThePublishedRowsUntouched)
{
    std::uint64_t checksum = 0xcbf29ce484222325u;  // FNV-1a of the published rows
    int published = 0, added = 0, edges = 0;
    eachline("attenuation.coefficients", [&](const std::string& line) {
        if (line.size() != 36 || line[4] != '.') return;
        ++(line[1] == '+' ? added : published);
        edges += line[0] >= 'K' && line[0] <= 'N';
        for (char c : line[1] == '+' ? "" : line + "\n") {
            checksum = (checksum ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
        }
    });
    EXPECT_TRUE(published == 3859 && added == 1389 && edges == 364) << published << added << edges;
    EXPECT_EQ(checksum, 0x937252305ec1948au);
    std::filesystem::current_path(DATA_DIR);
    elementlist list;
    readelements(list);
    for (int z = 1; z <= 82; ++z) {
        text<16> numberline;
        float atc = 0.0f;
        findblock(list.ename(z), list.ename(z).length());
        EXPECT_TRUE(coefficients.next(numberline) && std::atoi(&numberline(4)) == z);
        attenuation(14000.0f, atc);  // reads all rows
        EXPECT_TRUE(atc > 0.01f && atc < 0.06f) << z;
        const std::string shown = said([z] { window(1), tell(elementdensity(z)); }, "\n");
        const double density = std::stod(shown.substr(shown.rfind('<') + 1));
        EXPECT_TRUE(density > 0.08 && density < 22.7) << z;
    }
    std::set<std::string> names;  // modifications can be told apart
    eachline("dichte.dat", [&](const std::string& line) {
        EXPECT_TRUE(names.insert(line.substr(0, std::atoi(line.c_str()) > 0 ? 18 : 80)).second) << line;
    });
}

TEST(HelpFile, HasEveryKeyAndLink)
{
    std::set<std::string> keys, reached;
    std::map<std::string, std::vector<std::string>> links;
    std::string key;
    eachline("attenuation.help", [&](const std::string& line) {
        EXPECT_LT(line.size(), 80u) << line;
        if (!line.starts_with("/")) return;
        if (line[1] == '#' || line[1] == '>') links[key].push_back(line.substr(2));
        else EXPECT_TRUE(keys.insert(key = line.substr(1)).second) << line;
    });
    const std::function<void(std::string, int)> reach = [&](const std::string& k, int level) {
        const std::size_t blank = k.find(' '), slash = k.rfind('/');
        std::string file = k.substr(slash == k.npos ? 0 : slash);  // of "details"
        if (k.starts_with("more ")) file = "/dvifiles/" + k.substr(5) + "/" + k.substr(5) + ".dvi";
        EXPECT_TRUE(blank == k.npos ? keys.contains(k) : std::filesystem::exists(DATA_DIR + file)) << k;
        if (blank != k.npos || level > 4) return;
        reached.insert(k);
        for (const std::string& link : links[k]) reach(link, level + 1);
    };
    // The program asks for all keys but these; the dialogues show it.
    for (const std::string& k : keys) if (!k.starts_with("about/")) reach(k, 0);
    EXPECT_EQ(keys, reached);  // no entry is out of reach
}
