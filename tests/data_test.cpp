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
        const std::string menu = said([z] { window(1), tell(elementdensity(z)); }, "\n");
        const float density = std::stof(menu.substr(menu.rfind('<') + 1));
        EXPECT_TRUE(density > 0.08f && density < 22.7f) << z;
    }
}

TEST(HelpFile, HasEveryKeyAndLink)
{
    std::set<std::string> keys, links;
    eachline("attenuation.help", [&](const std::string& line) {
        EXPECT_LT(line.size(), 80u) << line;
        const bool link = line.starts_with("/#") || line.starts_with("/>");
        if (link) links.insert(line.substr(2));
        EXPECT_TRUE(link || !line.starts_with("/") || keys.insert(line.substr(1)).second) << line;
    });
    for (const std::string& link : links) {
        const std::size_t slash = link.rfind('/');
        std::string file = DATA_DIR + link.substr(slash == link.npos ? 0 : slash);  // of "details"
        const std::string name = "/" + link.substr(link.find(' ') + 1);
        if (link.starts_with("more ")) file = DATA_DIR "/dvifiles" + name + name + ".dvi";
        const bool opens = link.find(' ') != link.npos;
        EXPECT_TRUE(opens ? std::filesystem::exists(file) : keys.contains(link)) << link;
    }
    // No entry is out of reach. The program asks for all others, as the dialogues show.
    for (const auto& key : keys)
        EXPECT_TRUE(!key.starts_with("about/") || links.contains(key)) << key;
}
