// The keywords that the current result still offers, with the groups that stand for several of them.
#include "search/LCSearchEngine.h"

#include <algorithm>

namespace {

struct KeywordGroup {
  std::string name;
  vesk::StringSet members;  // any one of them offers the group
};

vesk::StringSet effectsMembers() {
  return {"Ambience",  "People",           "Transportation",    "Weapons",   "Explosions", "Animals",
          "Work/Home", "Sports & Leisure", "Impacts & Crashes", "Mech/Tech", "Misc.",      "Foley",
          "Sci-Fi",    "Vocals",           "Texture/Atmosphere"};
}

vesk::StringSet allEffectsMembers() {
  vesk::StringSet members = effectsMembers();
  members.insert({"Mixed", "Motions & Transitions"});
  return members;
}

const std::vector<KeywordGroup>& keywordGroups() {
  static const std::vector<KeywordGroup> groups = {
      {"Brass", {"Trumpet", "Trombone", "French Horn", "Tuba", "Harmonica"}},
      {"Woodwind", {"Saxophone", "Flute", "Oboe", "Recorder", "Clarinet", "Pan Flute", "Bassoon", "Bagpipe"}},
      {"Effects", effectsMembers()},
      {"All Effects", allEffectsMembers()},
      {"Boom", {"Impacts & Crashes", "Explosions"}},
      {"House", {"Deep House", "Tech House", "Electro House"}},
      {"Hip Hop/RnB", {"Hip Hop", "Modern RnB", "Urban"}},
  };
  return groups;
}

}  // namespace

void LCSearchEngine::setAvailableKeywords(const vesk::StringSet& keywords) {
  vesk::StringSet available = keywords;
  for (const KeywordGroup& group : keywordGroups()) {
    const bool hasMember = std::any_of(group.members.begin(), group.members.end(),
                                       [&](const std::string& member) { return keywords.contains(member); });
    if (hasMember) available.insert(group.name);
  }
  available.erase("");
  m_availableKeywords = std::move(available);
}
