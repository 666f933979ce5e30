// The keyed collection, name to pointer, beside the hash tables that one would use instead. The
// figure is per member: per hit (of the very string that was inserted, and of an equal one), per miss,
// per removal with re-insertion, per step of an iteration, per removal while iterating.

#include <absl/container/flat_hash_map.h>

#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>
#include <boost/version.hpp>
#if BOOST_VERSION >= 108100
#include <boost/unordered/unordered_flat_map.hpp>
#else
#include <boost/unordered_map.hpp>
#endif
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/Case.h"
#include "runtime/kesh/HashMap2018.h"

namespace Bench {

namespace {

using Vunda::String;

std::string memberName(std::size_t i) {
  return "Ethernet" + std::to_string(i / 64) + "/" + std::to_string(i % 64);
}

template <class Key>
struct Names {
  explicit Names(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      present.push_back(Key(memberName(i)));
      equal.push_back(Key(memberName(i)));
      absent.push_back(Key("x" + memberName(i)));
    }
  }
  std::vector<Key> present;
  std::vector<Key> equal;  // to those that are present, each of an origin of its own
  std::vector<Key> absent;
};

// Each table as the cases see it: `value` is what every member holds.

struct HN_Bench;

struct Ours {
  using Key = String;
  Kesh::HashMap2018<HN_Bench, String, void*> map;

  void insert(Key const& key, void* value) { map.memberIs(key, value); }
  void erase(Key const& key) { map.deleteMember(key); }
  bool find(Key const& key) { return map.lookup(key) != nullptr; }
  void iterate() {
    for (auto it = map.iterator(); it; ++it) {
      void* value = it.value();
      hide(value);
    }
  }
  void eraseAll() {
    for (auto it = map.iterator(); it; ++it) map.deleteMember(it);
  }
};

template <class Map>
struct Table {
  using Key = std::string;
  Map map;

  void insert(Key const& key, void* value) { map.insert_or_assign(key, value); }
  void erase(Key const& key) { map.erase(key); }
  bool find(Key const& key) { return map.find(key) != map.end(); }
  void iterate() {
    for (auto const& member : map) {
      void* value = member.second;
      hide(value);
    }
  }
  void eraseAll() {
    for (auto it = map.begin(); it != map.end();) map.erase(it++);
  }
};

// With a second index that keeps the order of insertion, as ours does.
struct MultiIndex {
  struct Member {
    std::string key;
    void* value;
  };
  using Key = std::string;
  boost::multi_index_container<
      Member,
      boost::multi_index::indexed_by<boost::multi_index::hashed_unique<boost::multi_index::member<
                                         Member, std::string, &Member::key>>,
                                     boost::multi_index::sequenced<>>>
      map;

  void insert(Key const& key, void* value) { map.insert({key, value}); }
  void erase(Key const& key) { map.erase(key); }
  bool find(Key const& key) { return map.find(key) != map.end(); }
  void iterate() {
    for (auto const& member : map.get<1>()) {
      void* value = member.value;
      hide(value);
    }
  }
  void eraseAll() {
    auto& inOrder = map.get<1>();
    for (auto it = inOrder.begin(); it != inOrder.end();) it = inOrder.erase(it);
  }
};

template <class Who>
struct Filled : Names<typename Who::Key> {
  explicit Filled(std::size_t count) : Names<typename Who::Key>(count) { fill(table); }
  void fill(Who& empty) {
    for (auto const& key : this->present) empty.insert(key, this);
  }
  Who table;
};

// `makeBody` makes the body of a case of what is filled; a round is once every member.
template <class Who, class MakeBody>
void add(char const* what, std::size_t size, char const* who, MakeBody makeBody) {
  std::uint64_t const operations = size * (size < 1000 ? 1000 / size + 1 : 1);
  Register("keyed." + std::string(what) + "/" + std::to_string(size) + "/" + who, operations,
           [=] { return makeBody(std::make_shared<Filled<Who>>(size), size); });
}

// Rounds that leave the table as it was: all in one go, so that the meter costs little of small
// tables.
template <class Who, class Round>
void addRounds(char const* what, std::size_t size, char const* who, Round round) {
  add<Who>(what, size, who, [=](std::shared_ptr<Filled<Who>> const& filled, std::size_t members) {
    return metered([=](std::uint64_t n) {
      for (std::uint64_t done = 0; done < n; done += members) round(*filled);
    });
  });
}

// As many tables as there are rounds, emptied in one go.
template <class Who>
Body erasingAll(std::shared_ptr<Filled<Who>> const& filled, std::size_t members) {
  return [=](Meter& meter, std::uint64_t n) {
    std::vector<Who> tables(n / members);
    for (Who& table : tables) filled->fill(table);
    meter.start();
    for (Who& table : tables) table.eraseAll();
    meter.stop();
  };
}

template <class Who>
void addLookups(char const* what, std::size_t size, char const* who,
                std::vector<typename Who::Key> Names<typename Who::Key>::*keys) {
  addRounds<Who>(what, size, who, [keys](Filled<Who>& in) {
    for (auto const& key : in.*keys) {
      bool found = in.table.find(key);
      hide(found);
    }
  });
}

template <class Who>
void add(std::size_t size, char const* who) {
  using Keys = Names<typename Who::Key>;
  addLookups<Who>("hit", size, who, &Keys::present);
  addLookups<Who>("hit-equal", size, who, &Keys::equal);
  addLookups<Who>("miss", size, who, &Keys::absent);
  addRounds<Who>("churn", size, who, [](Filled<Who>& in) {
    for (auto const& key : in.present) {
      in.table.erase(key);
      in.table.insert(key, &in);
    }
  });
  addRounds<Who>("iterate", size, who, [](Filled<Who>& in) { in.table.iterate(); });
  add<Who>("erase-all", size, who, &erasingAll<Who>);
}

struct RegisterKeyed {
  RegisterKeyed() {
    for (std::size_t const size : {8U, 64U, 4096U, 65536U}) {
      add<Ours>(size, "ours");
      add<Table<absl::flat_hash_map<std::string, void*>>>(size, "abseil");
      add<Table<std::unordered_map<std::string, void*>>>(size, "std");
#if BOOST_VERSION >= 108100
      add<Table<boost::unordered_flat_map<std::string, void*>>>(size, "boost-unordered_flat_map");
#else
      add<Table<boost::unordered_map<std::string, void*>>>(size, "boost-unordered_map");
#endif
      add<MultiIndex>(size, "multi_index");
    }
  }
} const registerKeyed;

}  // namespace

}  // namespace Bench
