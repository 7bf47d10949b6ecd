// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "states.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

namespace capi::crash {
namespace {

constexpr char kGarbage = '\xA5';

// States, each once.
class Collection {
 public:
  void add(Tree tree, bool promised, std::string how) {
    if (!keys_.insert(tree.key() + (promised ? '+' : '-')).second) return;
    states_.push_back({std::move(tree), promised, std::move(how)});
  }
  std::vector<State> take() { return std::move(states_); }

 private:
  std::set<std::string> keys_;
  std::vector<State> states_;
};

// Where a write of this size is cut; neither 0 nor all of it.
std::vector<size_t> cuts(size_t size, const Bounds& bounds) {
  std::set<size_t> lengths = {1, size / 2, size > 0 ? size - 1 : 0};
  lengths.insert(bounds.pages.begin(), bounds.pages.end());
  std::vector<size_t> result;
  for (const size_t length : lengths) {
    if (length > 0 && length < size) result.push_back(length);
  }
  return result;
}

std::string number(size_t i) { return std::to_string(i); }

// Which of "count" unsynced things are there, as lists of flags.
std::vector<std::vector<bool>> choices(size_t count, size_t all_up_to) {
  std::vector<std::vector<bool>> result;
  if (count <= all_up_to) {
    for (size_t mask = 0; mask < size_t{1} << count; ++mask) {
      std::vector<bool> there(count);
      for (size_t i = 0; i < count; ++i) there[i] = (mask >> i & 1) != 0;
      result.push_back(std::move(there));
    }
    return result;
  }
  // Everything up to one, and that without one of them.
  for (size_t end = 0; end <= count; ++end) {
    std::vector<bool> there(count);
    std::fill_n(there.begin(), end, true);
    result.push_back(there);
    for (size_t missing = 0; missing + 1 < end; ++missing) {
      there[missing] = false;
      result.push_back(there);
      there[missing] = true;
    }
  }
  return result;
}

template <typename Value>
struct Variant {
  Value value;
  std::string how;
};

template <typename Value>
using Variants = std::vector<Variant<Value>>;

template <typename Value>
void add_once(Variants<Value>& variants, Value value, std::string how) {
  for (const auto& variant : variants) {
    if (variant.value == value) return;
  }
  variants.push_back({std::move(value), std::move(how)});
}

// The states at one moment: what is on the medium for sure, and what may be.
class PowerCut {
 public:
  PowerCut(const Record& record, size_t end, const Bounds& bounds, Contents& contents)
      : record_(record), end_(end), bounds_(bounds), contents_(contents), durable_(record.before) {
    find_durable();
  }

  void collect(Collection& states) {
    const bool promised =
        std::any_of(record_.actions.begin(), record_.actions.begin() + static_cast<ptrdiff_t>(end_),
                    [](const Action& action) { return action.act == Act::Promise; });
    for (const auto& names : name_variants()) collect(names, promised, states);
  }

 private:
  using Names = std::map<std::string, Inode>;

  static bool covers(const Action& sync, const Action& action) {
    switch (sync.act) {
      case Act::SyncAll:
        return true;
      case Act::SyncFile:
        return !changes_names(action) && action.inode == sync.inode;
      case Act::SyncDirectory:
        return changes_names(action) && directory_of(action.path) == sync.path;
      default:
        return false;
    }
  }

  bool is_durable(size_t i) const {
    const Action& action = record_.actions[i];
    for (size_t at = i + 1; at < end_; ++at) {
      const Action& later = record_.actions[at];
      if (later.act == Act::FailedSync && changes_data(action) && later.inode == action.inode) {
        return false;
      }
      if (covers(later, action)) return true;
    }
    return false;
  }

  void find_durable() {
    for (size_t i = 0; i < end_; ++i) {
      const Action& action = record_.actions[i];
      if (action.act == Act::Create) {
        durable_.nodes[action.inode] = {contents_.intern(""), action.meta};
      }
      if (action.act > Act::SetMeta) continue;
      if (!is_durable(i)) {
        unsynced_.push_back(i);
      } else if (changes_names(action)) {
        change_names(durable_.names, i, kWhole);
      } else {
        apply(durable_, action, contents_);
      }
    }
  }

  std::vector<size_t> unsynced(bool (*is)(const Action&), Inode inode = 0, bool any = true) const {
    std::vector<size_t> result;
    for (const size_t i : unsynced_) {
      const Action& action = record_.actions[i];
      if (is(action) && (any || action.inode == inode)) result.push_back(i);
    }
    return result;
  }

  // Names.

  enum How : uint8_t { kMissing, kWhole, kLinkOnly, kUnlinkOnly };

  // The file that a rename moves, whatever else is on the medium.
  Inode moved(size_t rename) const {
    Names names = record_.before.names;
    for (size_t i = 0; i < rename; ++i) {
      const Action& action = record_.actions[i];
      if (action.act == Act::Create || action.act == Act::Link) names[action.path] = action.inode;
      if (action.act == Act::Unlink) names.erase(action.path);
      if (action.act != Act::Rename) continue;
      names[action.to] = names.at(action.path);
      names.erase(action.path);
    }
    return names.at(record_.actions[rename].path);
  }

  void change_names(Names& names, size_t i, How how) const {
    const Action& action = record_.actions[i];
    if (how == kMissing) return;
    if (action.act == Act::Unlink || how == kUnlinkOnly) {
      names.erase(action.path);
    } else if (action.act == Act::Rename) {
      names[action.to] = moved(i);
      if (how == kWhole) names.erase(action.path);
    } else {
      names[action.path] = action.inode;
    }
  }

  static std::string how_text(size_t i, How how) {
    constexpr const char* kTexts[] = {"without ", "", "only the new name of ",
                                      "only the old name's end of "};
    return how == kWhole ? "" : kTexts[how] + number(i) + "; ";
  }

  Variants<Names> name_variants() const {
    Variants<Names> result;
    const std::vector<size_t> changes = unsynced(changes_names);
    for (const auto& there : choices(changes.size(), bounds_.subsets)) {
      Names names = durable_.names;
      std::string how;
      for (size_t k = 0; k < changes.size(); ++k) {
        const How whole = there[k] ? kWhole : kMissing;
        change_names(names, changes[k], whole);
        how += how_text(changes[k], whole);
      }
      add_once(result, names, how);
      for (size_t k = 0; k < changes.size(); ++k) add_halves(result, changes, there, k);
    }
    return result;
  }

  // One rename that got only half of the way.
  void add_halves(Variants<Names>& result, const std::vector<size_t>& changes,
                  const std::vector<bool>& there, size_t half) const {
    if (!there[half] || record_.actions[changes[half]].act != Act::Rename) return;
    for (const How way : {kLinkOnly, kUnlinkOnly}) {
      Names names = durable_.names;
      std::string how;
      for (size_t k = 0; k < changes.size(); ++k) {
        const How whole = there[k] ? kWhole : kMissing;
        change_names(names, changes[k], k == half ? way : whole);
        how += how_text(changes[k], k == half ? way : whole);
      }
      add_once(result, std::move(names), std::move(how));
    }
  }

  // Data.

  // What may be there of one write: its bytes, or others in their place.
  void add_torn(Variants<std::string>& result, const std::string& bytes, size_t i,
                const std::string& how) const {
    const Action& action = record_.actions[i];
    if (action.act != Act::Write) return;
    const std::string& data = contents_[action.content];
    for (const size_t length : cuts(data.size(), bounds_)) {
      result.push_back({after_write(bytes, action, data, length),
                        how + number(i) + " cut at " + number(length) + "; "});
    }
    if (action.offset + data.size() <= bytes.size()) return;
    const auto filled = [&](std::string other, const char* what) {
      result.push_back({after_write(bytes, action, other, other.size()),
                        how + what + " for " + number(i) + "; "});
    };
    filled(std::string(data.size(), '\0'), "zeros");
    filled(std::string(data.size(), kGarbage), "garbage");
    filled(std::string(data.size() / 2, '\0') + data.substr(data.size() / 2), "half zeros");
  }

  std::string with(std::string bytes, size_t i) const {
    const Action& action = record_.actions[i];
    if (action.act == Act::Truncate) {
      bytes.resize(action.offset, '\0');
      return bytes;
    }
    const std::string& data = contents_[action.content];
    return after_write(std::move(bytes), action, data, data.size());
  }

  Variants<Content> data_variants(Inode inode) {
    Variants<Content> result;
    const std::vector<size_t> changes = unsynced(changes_data, inode, false);
    const std::string& base = contents_[durable_.nodes.at(inode).content];
    for (const auto& there : choices(changes.size(), bounds_.subsets)) {
      std::string bytes = base;
      std::string how;
      for (size_t k = 0; k < changes.size(); ++k) {
        if (there[k]) {
          bytes = with(std::move(bytes), changes[k]);
        } else {
          how += "without " + number(changes[k]) + "; ";
        }
      }
      add_once(result, contents_.intern(bytes), how);
    }
    for (size_t k = 0; k < changes.size(); ++k) add_torn_one(result, base, changes, k);
    return result;
  }

  // One write in the middle of the others: those before it are there, those after it all or none.
  void add_torn_one(Variants<Content>& result, const std::string& base,
                    const std::vector<size_t>& changes, size_t torn) {
    std::string bytes = base;
    for (size_t k = 0; k < torn; ++k) bytes = with(std::move(bytes), changes[k]);
    Variants<std::string> variants;
    add_torn(variants, bytes, changes[torn], "");
    for (auto& [value, how] : variants) {
      add_once(result, contents_.intern(value), how + "none after it; ");
      for (size_t k = torn + 1; k < changes.size(); ++k) value = with(std::move(value), changes[k]);
      add_once(result, contents_.intern(value), how);
    }
  }

  // Mode and owner.

  Variants<Meta> meta_variants(Inode inode) const {
    Variants<Meta> result;
    const auto sets_meta = [](const Action& action) { return action.act == Act::SetMeta; };
    const std::vector<size_t> changes = unsynced(sets_meta, inode, false);
    for (const auto& there : choices(changes.size(), bounds_.subsets)) {
      Meta meta = durable_.nodes.at(inode).meta;
      std::string how;
      for (size_t k = 0; k < changes.size(); ++k) {
        if (there[k]) {
          meta = record_.actions[changes[k]].meta;
        } else {
          how += "without " + number(changes[k]) + "; ";
        }
      }
      add_once(result, meta, how);
    }
    return result;
  }

  // A file's data and its mode and owner, in any combination.
  const Variants<Node>& node_variants(Inode inode) {
    const auto [at, is_new] = node_variants_.try_emplace(inode);
    if (!is_new) return at->second;
    for (const auto& data : data_variants(inode)) {
      for (const auto& meta : meta_variants(inode)) {
        at->second.push_back({{data.value, meta.value}, data.how + meta.how});
      }
    }
    return at->second;
  }

  void collect(const Variant<Names>& names, bool promised, Collection& states) {
    Tree tree = durable_;
    tree.names = names.value;
    std::set<Inode> reached;
    for (const auto& [name, inode] : names.value) reached.insert(inode);
    std::vector<Inode> open;  // may be in more than one state
    size_t combinations = 1;
    for (const Inode inode : reached) {
      const Variants<Node>& variants = node_variants(inode);
      tree.nodes[inode] = variants[0].value;
      if (variants.size() < 2) continue;
      open.push_back(inode);
      combinations *= variants.size();
    }
    const std::string how = "at " + number(end_) + ": " + names.how;
    if (combinations <= bounds_.combinations || open.size() < 2) {
      combine(tree, open, 0, promised, how, states);
    } else {
      vary_one_by_one(tree, open, promised, how, states);
    }
  }

  void combine(Tree& tree, const std::vector<Inode>& open, size_t k, bool promised,
               const std::string& how, Collection& states) {
    if (k == open.size()) return states.add(tree, promised, how);
    for (const auto& variant : node_variants(open[k])) {
      tree.nodes[open[k]] = variant.value;
      combine(tree, open, k + 1, promised, how + variant.how, states);
    }
  }

  // The others have nothing of what is unsynced, or all of it.
  void vary_one_by_one(const Tree& none, const std::vector<Inode>& open, bool promised,
                       const std::string& how, Collection& states) {
    Tree all = none;
    for (const Inode inode : open) {
      for (const size_t i : unsynced_) {
        const Action& action = record_.actions[i];
        if (!changes_names(action) && action.inode == inode) apply(all, action, contents_);
      }
    }
    for (const Tree& others : {none, all}) {
      for (const Inode inode : open) {
        Tree tree = others;
        combine(tree, {inode}, 0, promised, how, states);
      }
    }
  }

  const Record& record_;
  const size_t end_;
  const Bounds& bounds_;
  Contents& contents_;
  Tree durable_;
  std::vector<size_t> unsynced_;
  std::map<Inode, Variants<Node>> node_variants_;
};

}  // namespace

Bounds short_bounds() { return {.pages = {}, .subsets = 3, .combinations = 24}; }
Bounds full_bounds() { return {.pages = {4096, 8192}, .subsets = 7, .combinations = 400}; }

std::vector<State> kill_states(const Record& record, const Bounds& bounds, Contents& contents) {
  Collection states;
  Tree tree = record.before;
  bool promised = false;
  states.add(tree, promised, "before 0");
  for (size_t i = 0; i < record.actions.size(); ++i) {
    const Action& action = record.actions[i];
    if (action.act == Act::Write) {
      const std::string& data = contents[action.content];
      Tree cut = tree;
      Content& content = cut.nodes.at(action.inode).content;
      const std::string bytes = contents[content];
      for (const size_t length : cuts(data.size(), bounds)) {
        content = contents.intern(after_write(bytes, action, data, length));
        states.add(cut, promised, number(i) + " cut at " + number(length));
      }
    }
    apply(tree, action, contents);
    promised = promised || action.act == Act::Promise;
    states.add(tree, promised, "after " + number(i));
  }
  return states.take();
}

std::vector<State> power_states(const Record& record, const Bounds& bounds, Contents& contents) {
  Collection states;
  for (size_t end = 0; end <= record.actions.size(); ++end) {
    // What a moment in between leaves, the next of these moments leaves as well.
    const bool is_last = end == record.actions.size();
    if (!is_last && !is_sync(record.actions[end]) && record.actions[end].act != Act::Promise) {
      continue;
    }
    PowerCut(record, end, bounds, contents).collect(states);
  }
  return states.take();
}

}  // namespace capi::crash
