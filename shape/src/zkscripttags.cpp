#include "zkscripttags.h"

namespace
{

/// In the order of `ZkCharacter::Script`.
constexpr char kTags[][5] = {
    "Zzzz", "Zyyy", "Zinh", "Adlm", "Ahom", "Hluw", "Arab", "Armn", "Avst", "Bali", "Bamu", "Bass",
    "Batk", "Beng", "Bhks", "Bopo", "Brah", "Brai", "Bugi", "Buhd", "Cans", "Cari", "Aghb", "Cakm",
    "Cham", "Cher", "Chrs", "Copt", "Xsux", "Cprt", "Cpmn", "Cyrl", "Dsrt", "Deva", "Diak", "Dogr",
    "Dupl", "Egyp", "Elba", "Elym", "Ethi", "Geor", "Glag", "Goth", "Gran", "Grek", "Gujr", "Gong",
    "Guru", "Hani", "Hang", "Rohg", "Hano", "Hatr", "Hebr", "Hira", "Armi", "Phli", "Prti", "Java",
    "Kthi", "Knda", "Kana", "Kawi", "Kali", "Khar", "Kits", "Khmr", "Khoj", "Sind", "Laoo", "Latn",
    "Lepc", "Limb", "Lina", "Linb", "Lisu", "Lyci", "Lydi", "Mahj", "Maka", "Mlym", "Mand", "Mani",
    "Marc", "Gonm", "Medf", "Mtei", "Mend", "Merc", "Mero", "Plrd", "Modi", "Mong", "Mroo", "Mult",
    "Mymr", "Nbat", "Nagm", "Nand", "Talu", "Newa", "Nkoo", "Nshu", "Hmnp", "Ogam", "Olck", "Hung",
    "Ital", "Narb", "Perm", "Xpeo", "Sogo", "Sarb", "Orkh", "Ougr", "Orya", "Osge", "Osma", "Hmng",
    "Palm", "Pauc", "Phag", "Phnx", "Phlp", "Rjng", "Runr", "Samr", "Saur", "Shrd", "Shaw", "Sidd",
    "Sgnw", "Sinh", "Sogd", "Sora", "Soyo", "Sund", "Sylo", "Syrc", "Tglg", "Tagb", "Tale", "Lana",
    "Tavt", "Takr", "Taml", "Tnsa", "Tang", "Telu", "Thaa", "Thai", "Tibt", "Tfng", "Tirh", "Toto",
    "Ugar", "Vaii", "Vith", "Wcho", "Wara", "Yezi", "Yiii", "Zanb"};
constexpr int kTagCount = static_cast<int>(sizeof kTags / sizeof *kTags);

} // namespace

hb_script_t zkScriptTag(int script)
{
    const char *const tag = kTags[script >= 0 && script < kTagCount ? script : 0];
    return hb_script_from_iso15924_tag(HB_TAG(tag[0], tag[1], tag[2], tag[3]));
}
