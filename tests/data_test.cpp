// SPDX-License-Identifier: GPL-3.0-or-later
// The shipped tables and the help file, line by line and as the program reads them.
#include <set>

#include "calc/attenuation.h"
#include "terminal/key.h"
#include "tests/session.h"

namespace {

std::vector<std::string> lines(const std::string& file)
{
    std::ifstream all(DATA_DIR "/" + file);
    std::vector<std::string> read;
    for (std::string line; std::getline(all, line);) read.push_back(line);
    return read;
}

}  // namespace

TEST(Tables, AreWholeAndThePublishedRowsUntouched)
{
    std::uint64_t checksum = 0xcbf29ce484222325u;  // FNV-1a of the published rows
    int published = 0, added = 0, edges = 0, inblock = 0;
    for (const std::string& line : lines("attenuation.coefficients")) {
        const bool isrow = line.size() == 36 && line[4] == '.';
        EXPECT_TRUE(isrow || inblock == 0 || (inblock >= 38 && inblock <= 64)) << line;
        inblock = isrow ? inblock + 1 : 0;
        if (!isrow) continue;
        EXPECT_GT(std::stod(line.substr(27)), 0.0) << line;
        ++(line[1] == '+' ? added : published);
        edges += line[0] >= 'K' && line[0] <= 'N';
        for (char c : line[1] == '+' ? "" : line + "\n") {
            checksum = (checksum ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
        }
    }
    EXPECT_TRUE(published == 3859 && added == 1389 && edges == 364) << published << added << edges;
    EXPECT_EQ(checksum, 0x937252305ec1948au);
    std::filesystem::current_path(DATA_DIR);
    elementlist list;
    readelements(list);
    for (int z = 1; z <= 82; ++z) {
        text<16> numberline;
        float atc = 0.0f;
        findblock(list.ename(z), list.ename(z).length());
        EXPECT_TRUE(coefficients.next(numberline) && std::stoi(std::string(numberline(4, 11))) == z);
        attenuation(14000.0f, atc);  // reads all rows
        EXPECT_TRUE(atc > 0.01f && atc < 0.06f) << z;
        const std::string shown = said([z] { window(1), tell(elementdensity(z)); }, "\n");
        const double density = std::stod(shown.substr(shown.rfind('<') + 1));
        EXPECT_TRUE(density > 0.08 && density < 22.7) << z;
    }
    std::set<std::string> names;  // modifications can be told apart
    for (const std::string& line : lines("dichte.dat")) {
        const std::string name = std::atoi(line.c_str()) > 0 ? line.substr(0, 18) : line;
        EXPECT_TRUE(names.insert(name).second && line.size() <= 79) << line;
    }
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
        const std::string name = k.substr(k.find(' ') + 1);
        if (k.starts_with("more ")) {
            EXPECT_TRUE(std::filesystem::exists(DATA_DIR "/dvifiles/" + name + "/" + name + ".dvi"));
        } else if (k.starts_with("details ")) {
            EXPECT_TRUE(std::filesystem::exists(DATA_DIR + k.substr(k.rfind('/'))));
        } else {
            EXPECT_TRUE(keys.contains(k)) << k;
            reached.insert(k);
            if (level < 4) for (const std::string& link : links[k]) reach(link, level + 1);
        }
    };
    // What the program asks for; the dialogues show that each of these keys is in use.
    for (const std::string& k : keys) if (!k.starts_with("about/")) reach(k, 0);
    EXPECT_EQ(keys, reached);  // no entry is out of reach
}
