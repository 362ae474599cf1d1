// Values and containers.
#include "c4d_container.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "container_json.h"
#include "identity.h"
#include "links.h"

namespace {

TEST(BaseTime, FrameIsTheFloorOfTimeTimesRate) {
  EXPECT_EQ(BaseTime(1).GetFrame(30), 30);
  EXPECT_EQ(BaseTime(0.99).GetFrame(30), 29);
  EXPECT_EQ(BaseTime(-0.01).GetFrame(30), -1);
  EXPECT_EQ(BaseTime(1, 0).GetFrame(30), 0);
  EXPECT_EQ(BaseTime(1e300).GetFrame(30), std::numeric_limits<LONG>::max());
  for (LONG frame = 0; frame < 3000; ++frame)
    for (const LONG rate : {24, 25, 30, 60, 1000}) {
      EXPECT_EQ(BaseTime(frame, rate).GetFrame(rate), frame);
      EXPECT_EQ(BaseTime(static_cast<Real>(frame) / rate).GetFrame(rate), frame);
    }
}

TEST(GeData, NumbersConvert) {
  EXPECT_EQ(GeData(2.9).GetLong(), 2);
  EXPECT_EQ(GeData(-2.9).GetLong(), -2);
  EXPECT_EQ(GeData(1e30).GetLong(), std::numeric_limits<LONG>::max());
  EXPECT_EQ(GeData(-1e30).GetLLong(), std::numeric_limits<LLONG>::min());
  EXPECT_EQ(GeData(std::nan("")).GetLong(), 0);
  EXPECT_EQ(GeData(LONG{7}).GetReal(), 7.0);
  EXPECT_EQ(GeData::FromLLong(1LL << 40).GetLong(), std::numeric_limits<LONG>::max());
  EXPECT_EQ(GeData::FromLLong(1LL << 40).GetLLong(), 1LL << 40);
  EXPECT_EQ(GeData::FromBool(5).GetLong(), 1);
  EXPECT_EQ(GeData::FromBool(5).GetType(), DA_BOOL);
  EXPECT_EQ(GeData(0.25).GetBool(), TRUE);
  EXPECT_EQ(GeData("12").GetLong(), 0) << "texts do not convert";
  EXPECT_EQ(GeData(LONG{3}).GetString(), String());
  EXPECT_EQ(GeData().GetType(), DA_NIL);
  EXPECT_EQ(GeData().GetLong(), 0);
}

TEST(GeData, KeepsBytes) {
  const GeData data("a\0b", 3);
  std::size_t count = 0;
  ASSERT_NE(data.GetMemory(&count), nullptr);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(std::memcmp(data.GetMemory(nullptr), "a\0b", 3), 0);
  EXPECT_EQ(GeData(LONG{1}).GetMemory(&count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_NE(GeData(nullptr, 0).GetMemory(&count), nullptr) << "no bytes are still bytes";
}

TEST(GeData, EqualMeansSameTypeAndValue) {
  EXPECT_TRUE(GeData(LONG{1}) == GeData(LONG{1}));
  EXPECT_FALSE(GeData(LONG{1}) == GeData(1.0));
  EXPECT_FALSE(GeData(LONG{1}) == GeData::FromBool(TRUE));
  EXPECT_TRUE(GeData(std::nan("")) == GeData(std::nan("")));
  EXPECT_FALSE(GeData(BaseTime(1, 2)) == GeData(BaseTime(2, 4))) << "the pair is compared as well";
  EXPECT_TRUE(GeData() == GeData());
}

TEST(Container, KeepsTheOrderAndReplacesInPlace) {
  BaseContainer bc;
  bc.SetLong(30, 1);
  bc.SetString(10, "two");
  bc.SetReal(20, 3);
  bc.SetString(30, "now a text");
  EXPECT_EQ(bc.GetCount(), 3);
  EXPECT_EQ(bc.GetIndexId(0), 30);
  EXPECT_EQ(bc.GetIndexId(1), 10);
  EXPECT_EQ(bc.GetIndexId(2), 20);
  EXPECT_EQ(bc.GetIndexId(3), -1);
  EXPECT_EQ(bc.GetIndexId(-1), -1);
  EXPECT_EQ(bc.GetType(30), DA_STRING);
  EXPECT_EQ(bc.GetIndexData(0)->GetString(), String("now a text"));
  EXPECT_EQ(bc.GetIndexData(3), nullptr);
  EXPECT_EQ(bc.FindIndex(20), 2);
  EXPECT_EQ(bc.FindIndex(99), -1);
  EXPECT_EQ(bc.GetType(99), DA_NIL);
}

TEST(Container, RemovesAndFlushes) {
  BaseContainer bc;
  for (LONG id : {1, 2, 3})
    bc.SetLong(id, id);
  EXPECT_TRUE(bc.RemoveData(2));
  EXPECT_FALSE(bc.RemoveData(2));
  EXPECT_EQ(bc.GetIndexId(1), 3);
  EXPECT_TRUE(bc.RemoveIndex(0));
  EXPECT_FALSE(bc.RemoveIndex(5));
  EXPECT_FALSE(bc.RemoveIndex(-1));
  EXPECT_EQ(bc.GetCount(), 1);
  bc.FlushAll();
  EXPECT_EQ(bc.GetCount(), 0);
  EXPECT_FALSE(BaseContainer().RemoveData(1));
}

TEST(Container, GivesPresetsAndConvertsNumbersOnly) {
  BaseContainer bc;
  bc.SetReal(1, 2.75);
  bc.SetString(2, "x");
  bc.SetBool(3, TRUE);
  bc.SetFilename(4, "/a");
  EXPECT_EQ(bc.GetLong(1, 9), 2);
  EXPECT_EQ(bc.GetLLong(1, 9), 2);
  EXPECT_EQ(bc.GetBool(1, FALSE), TRUE);
  EXPECT_EQ(bc.GetReal(3, 9), 1.0);
  EXPECT_EQ(bc.GetLong(2, 9), 9);
  EXPECT_EQ(bc.GetString(1, "preset"), String("preset"));
  EXPECT_EQ(bc.GetString(4, "preset"), String("preset")) << "a file name is not a text";
  EXPECT_EQ(bc.GetFilename(2, "/preset"), Filename("/preset"));
  EXPECT_EQ(bc.GetVector(1, Vector(1, 2, 3)), Vector(1, 2, 3));
  EXPECT_EQ(bc.GetMatrix(77, MatrixMove({1, 0, 0})), MatrixMove({1, 0, 0}));
  EXPECT_EQ(bc.GetTime(77, BaseTime(4)), BaseTime(4));
  EXPECT_EQ(bc.GetReal(77, -1), -1);
  EXPECT_EQ(bc.GetContainer(2).GetCount(), 0);
  bc.SetData(5, GeData());
  EXPECT_EQ(bc.GetLong(5, 9), 9);
  EXPECT_EQ(bc.FindIndex(5), 4);
}

TEST(Container, MergesEntryByEntry) {
  BaseContainer a, b;
  a.SetLong(1, 1);
  a.SetLong(2, 2);
  b.SetLong(3, 30);
  b.SetString(1, "ten");
  a.MergeContainer(b);
  ASSERT_EQ(a.GetCount(), 3);
  EXPECT_EQ(a.GetString(1), String("ten"));
  EXPECT_EQ(a.GetLong(2), 2);
  EXPECT_EQ(a.GetIndexId(2), 3);
  a.MergeContainer(a);
  EXPECT_EQ(a.GetCount(), 3);
}

TEST(Container, CopiesAreApart) {
  BaseContainer a(17);
  a.SetLong(1, 1);
  BaseContainer b(a);
  b.SetLong(1, 2);
  b.SetLong(3, 3);
  EXPECT_EQ(a.GetLong(1), 1);
  EXPECT_EQ(a.GetCount(), 1);
  EXPECT_EQ(b.GetId(), 17);
  BaseContainer c(std::move(b));
  EXPECT_EQ(c.GetLong(3), 3);
  a = c;
  EXPECT_TRUE(a == c);
  a = *&a;
  EXPECT_EQ(a.GetCount(), 2);
  a = BaseContainer();
  EXPECT_EQ(a.GetCount(), 0);
  EXPECT_EQ(a.GetId(), 0);
}

TEST(Container, EqualMeansSameEntriesInTheSameOrder) {
  BaseContainer a, b;
  a.SetLong(1, 1);
  a.SetLong(2, 2);
  b.SetLong(2, 2);
  EXPECT_TRUE(a != b);
  b.SetLong(1, 1);
  EXPECT_TRUE(a != b) << "another order";
  b.RemoveData(2);
  b.SetLong(2, 2);
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(BaseContainer() == BaseContainer(5));
}

TEST(Container, NestedContainersAreCopiesUnlessTakenAsInstance) {
  BaseContainer inner, outer;
  inner.SetLong(1, 10);
  outer.SetContainer(5, inner);
  inner.SetLong(1, 11);
  EXPECT_EQ(outer.GetContainer(5).GetLong(1), 10);
  outer.GetContainer(5).SetLong(1, 12);
  EXPECT_EQ(outer.GetContainer(5).GetLong(1), 10);

  BaseContainer* instance = outer.GetContainerInstance(5);
  ASSERT_NE(instance, nullptr);
  instance->SetLong(1, 13);
  EXPECT_EQ(outer.GetContainer(5).GetLong(1), 13);
  EXPECT_EQ(outer.GetContainerInstance(5), instance) << "the same one again";
  EXPECT_EQ(outer.GetContainerInstance(6), nullptr);
  outer.SetLong(6, 1);
  EXPECT_EQ(outer.GetContainerInstance(6), nullptr) << "no container";
  EXPECT_EQ(static_cast<const BaseContainer&>(outer).GetContainerInstance(5), instance);
}

TEST(Container, AnInstanceIsNotSharedWithCopies) {
  BaseContainer inner, outer;
  inner.SetLong(1, 10);
  outer.SetContainer(5, inner);
  const BaseContainer before(outer);
  BaseContainer* instance = outer.GetContainerInstance(5);
  instance->SetLong(1, 20);
  EXPECT_EQ(before.GetContainer(5).GetLong(1), 10);

  const BaseContainer after(outer);
  const GeData value = outer.GetData(5);
  BaseContainer assigned;
  assigned = outer;
  BaseContainer merged;
  merged.MergeContainer(outer);
  instance->SetLong(1, 30);
  EXPECT_EQ(after.GetContainer(5).GetLong(1), 20);
  EXPECT_EQ(value.GetContainer().GetLong(1), 20);
  EXPECT_EQ(assigned.GetContainer(5).GetLong(1), 20);
  EXPECT_EQ(merged.GetContainer(5).GetLong(1), 20);
  EXPECT_EQ(outer.GetContainer(5).GetLong(1), 30);

  outer.SetLong(7, 7); // a write elsewhere leaves the instance in place
  instance->SetLong(1, 40);
  EXPECT_EQ(outer.GetContainer(5).GetLong(1), 40);
}

TEST(Container, InstancesNest) {
  BaseContainer outer;
  outer.SetContainer(1, BaseContainer());
  outer.GetContainerInstance(1)->SetContainer(2, BaseContainer());
  outer.GetContainerInstance(1)->GetContainerInstance(2)->SetReal(3, 0.5);
  const BaseContainer copy(outer);
  outer.GetContainerInstance(1)->GetContainerInstance(2)->SetReal(3, 0.75);
  EXPECT_EQ(outer.GetContainer(1).GetContainer(2).GetReal(3), 0.75);
  EXPECT_EQ(copy.GetContainer(1).GetContainer(2).GetReal(3), 0.5);
}

// One thread writes while others copy and read: no reader sees a partial write. ThreadSanitizer checks the
// rest.
TEST(Container, ReadersSeeWholeWrites) {
  BaseContainer bc;
  bc.SetString(1, "0");
  bc.SetContainer(2, BaseContainer());
  BaseContainer* inner = bc.GetContainerInstance(2);
  std::atomic<bool> stop{false};
  std::atomic<int> torn{0}, reads{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 2; ++i)
    readers.emplace_back([&] {
      while (!stop) {
        const BaseContainer copy(bc);
        const String text = copy.GetString(1);
        if (copy.GetString(1) != text || text.GetLength() == 0) ++torn;
        const Vector v = bc.GetContainer(2).GetVector(3);
        if (v.x != v.y || v.y != v.z) ++torn;
        bc.GetLong(4, 1);
        ++reads;
      }
    });
  for (int i = 0; i < 3000 || reads < 50; ++i) {
    bc.SetString(1, LongToString(i));
    inner->SetVector(3, Vector(i));
    if (i % 100 == 0) bc.SetLong(4 + i / 100, i);
  }
  stop = true;
  for (std::thread& reader : readers)
    reader.join();
  EXPECT_EQ(torn, 0);
  EXPECT_GT(reads, 0);
}

TEST(Identity, IsNeverUsedTwice) {
  const host::Identity first = host::newIdentity();
  EXPECT_NE(first, 0u);
  EXPECT_NE(host::newIdentity(), first);
}

TEST(Link, HoldsAnIdentity) {
  EXPECT_EQ(BaseLink().GetIdentity(), 0u);
  EXPECT_EQ(BaseLink(nullptr).GetIdentity(), 0u);
  EXPECT_EQ(BaseLink().GetLink(nullptr), nullptr);
  const BaseLink link = BaseLink::FromIdentity(~ULLONG{0});
  BaseContainer bc;
  bc.SetBaseLink(1, link);
  EXPECT_EQ(bc.GetType(1), DA_ALIASLINK);
  EXPECT_TRUE(bc.GetBaseLink(1) == link);
  bc.SetLink(2, nullptr);
  EXPECT_EQ(bc.GetBaseLink(2).GetIdentity(), 0u);
}

BaseContainer everyType() {
  BaseContainer inner(9), bc(4711);
  inner.SetString(-5, "\xFF broken");
  bc.SetLong(1, std::numeric_limits<LONG>::min());
  bc.SetLLong(2, std::numeric_limits<LLONG>::min());
  bc.SetLLong(3, std::numeric_limits<LLONG>::max());
  bc.SetReal(4, 0.1);
  bc.SetReal(5, 5e-324);
  bc.SetReal(6, -0.0);
  bc.SetReal(7, std::nan("0x123"));
  bc.SetReal(8, -std::numeric_limits<Real>::infinity());
  bc.SetReal(9, 3.0);
  bc.SetBool(10, TRUE);
  bc.SetTime(11, BaseTime(7, 30));
  bc.SetVector(12, Vector(1.0 / 3, -1e300, 2));
  bc.SetMatrix(13, Matrix({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {0.1, 0.2, 0.3}));
  bc.SetString(14, String(std::string_view("a \"quote\" \\ \n \0 \xE2\x82\xAC", 20)));
  bc.SetString(15, "\xC3\x28");
  bc.SetFilename(16, "/tmp/\xFF\xFE.tif");
  bc.SetMemory(17, "\0\xFF\x7F", 3);
  bc.SetContainer(18, inner);
  bc.SetBaseLink(19, BaseLink::FromIdentity(0xFEDCBA9876543210u));
  bc.SetData(20, GeData());
  bc.SetMemory(21, nullptr, 0);
  return bc;
}

TEST(ContainerJson, KeepsEveryTypeExactly) {
  const BaseContainer bc = everyType();
  for (const int indent : {-1, 2}) {
    BaseContainer back;
    std::string error;
    ASSERT_TRUE(host::containerFromJson(host::containerToJson(bc, indent), back, &error)) << error;
    EXPECT_TRUE(back == bc);
    EXPECT_EQ(back.GetId(), 4711);
    EXPECT_EQ(back.GetContainer(18).GetId(), 9);
    EXPECT_TRUE(std::signbit(back.GetReal(6)));
    ULLONG bits = 0, expected = 0;
    const Real nan = back.GetReal(7), original = bc.GetReal(7);
    std::memcpy(&bits, &nan, 8);
    std::memcpy(&expected, &original, 8);
    EXPECT_EQ(bits, expected);
    EXPECT_EQ(host::containerToJson(back, indent), host::containerToJson(bc, indent));
  }
}

TEST(ContainerJson, RefusesInvalidTexts) {
  BaseContainer kept;
  kept.SetLong(1, 1);
  const std::string deep = [] {
    std::string open, close;
    for (int i = 0; i < 100; ++i) {
      open += "[[1,\"container\",";
      close += "]]";
    }
    return open + "[]" + close;
  }();
  for (const std::string& text :
       {std::string("not json"), std::string("{}"), std::string("[1]"), std::string("[[1]]"),
        std::string("[[1,\"long\"]]"), std::string("[[1,\"long\",\"x\"]]"), std::string("[[1,\"long\",1.5]]"),
        std::string("[[1,\"long\",3000000000]]"), std::string("[[9999999999,\"long\",1]]"),
        std::string("[[1,\"vector\",[1,2]]]"), std::string("[[1,\"bytes\",\"abc\"]]"),
        std::string("[[1,\"link\",-1]]"), std::string("[[1,\"wonder\",1]]"),
        std::string("[[1,\"real\",\"zz\"]]"), std::string("[[1,\"string\",{\"hex\":5}]]"),
        std::string("[[1,\"long\",1,1]]"), deep, std::string(200000, '['), std::string()}) {
    std::string error;
    EXPECT_FALSE(host::containerFromJson(text, kept, &error)) << text.substr(0, 60);
    EXPECT_FALSE(error.empty());
  }
  EXPECT_EQ(kept.GetLong(1), 1) << "unchanged";
}

} // namespace
