#include "QosSnmp/SnmpTables/Conversions.h"

#include <cstring>

#include <gtest/gtest.h>

#include "Quill/Exception.h"

namespace {

// Encodes with `convert` and returns the MIB integer written.
template <typename F, typename E>
long Encoded(F convert, E value) {
  unsigned char buf[sizeof(long)];
  EXPECT_EQ(convert(value, buf, sizeof buf), static_cast<int>(sizeof(long)));
  long v;
  std::memcpy(&v, buf, sizeof v);
  return v;
}

template <typename E>
E Model(unsigned v) {
  return static_cast<E>(v);
}

TEST(ConversionsTest, ForwardMappingsAreOneBasedWithZeroForUndefinedValues) {
  using namespace QosSnmp;
  const long mapType[] = {1, 2, 2};
  for (unsigned v = 0; v < 3; ++v) {
    EXPECT_EQ(Encoded(MapTypeToAsnInteger, Model<Qos::MapType>(v)), mapType[v]) << v;
  }
  EXPECT_EQ(Encoded(MapTypeToAsnInteger, Model<Qos::MapType>(5)), 0);
  EXPECT_EQ(Encoded(MapTypeToAsnInteger, Model<Qos::MapType>(255)), 0);
  const long direction[] = {1, 2, 0, 0};
  const long matchCondition[] = {1, 2, 0, 0};
  for (unsigned v = 0; v < 4; ++v) {
    EXPECT_EQ(Encoded(DirectionToAsnInteger, Model<Qos::Direction>(v)), direction[v]);
    EXPECT_EQ(Encoded(MatchConditionToAsnInteger, Model<Qos::ClassMapMatchCondition>(v)),
              matchCondition[v]);
  }
  for (unsigned v = 0; v < 7; ++v) {
    EXPECT_EQ(Encoded(ActionTypeToAsnInteger, Model<Qos::ActionType>(v)), v + 1);
  }
  EXPECT_EQ(Encoded(ActionTypeToAsnInteger, Model<Qos::ActionType>(7)), 0);
  const long rate[] = {1, 2, 3, 4, 0};
  const long burst[] = {2, 3, 4, 1, 0};  // the model's last burst unit is the MIB's first
  for (unsigned v = 0; v < 5; ++v) {
    EXPECT_EQ(Encoded(RateUnitToAsnInteger, Model<Qos::RateUnit>(v)), rate[v]);
    EXPECT_EQ(Encoded(BurstUnitToAsnInteger, Model<Qos::BurstUnit>(v)), burst[v]);
  }
}

TEST(ConversionsTest, ForwardConversionFailsWhenTheEncoderDoes) {
  unsigned char buf[2];
  EXPECT_LT(QosSnmp::DirectionToAsnInteger(Qos::Direction::directionInput_, buf, sizeof buf), 0);
}

TEST(ConversionsDeathTest, ConfigurationOnlyMapTypesNeverReachTheMib) {
  unsigned char buf[sizeof(long)];
  EXPECT_DEATH(QosSnmp::MapTypeToAsnInteger(Qos::MapType::mapCoppCli_, buf, sizeof buf),
               "Invalid MapType 'mapCoppCli_' in MapTypeToAsnInteger");
  EXPECT_DEATH(QosSnmp::MapTypeToAsnInteger(Qos::MapType::mapQosCli_, buf, sizeof buf),
               "Invalid MapType 'mapQosCli_' in MapTypeToAsnInteger");
}

TEST(ConversionsTest, FoldedMapTypeComesBackAsQos) {
  long two = 2;
  EXPECT_EQ(Encoded(QosSnmp::MapTypeToAsnInteger, Qos::MapType::mapQosStatic_), 2);
  EXPECT_EQ(QosSnmp::AsnIntegerToMapType(&two), Qos::MapType::mapQos_);
}

TEST(ConversionsTest, ReverseConversionsRejectValuesTheMibDoesNotDefine) {
  auto throwsWith = [](auto convert, long v, const char* text) {
    try {
      convert(&v);
    } catch (const Quill::RangeException& e) {
      EXPECT_STREQ(e.what(), text) << v;
      return;
    }
    ADD_FAILURE() << "no exception for " << v;
  };
  for (long v : {0L, -1L, 3L, 1L << 40}) {
    throwsWith(QosSnmp::AsnIntegerToMapType, v, "too big for Qos::MapType");
    throwsWith(QosSnmp::AsnIntegerToDirection, v, "too big for Qos::Direction");
  }
  for (long v : {0L, 8L}) {
    throwsWith(QosSnmp::AsnIntegerToActionType, v, "too big for Qos::ActionType");
  }
  long seven = 7;
  long one = 1;
  EXPECT_EQ(QosSnmp::AsnIntegerToActionType(&seven), Qos::ActionType::actionPolice_);
  EXPECT_EQ(QosSnmp::AsnIntegerToDirection(&one), Qos::Direction::directionInput_);
}

}  // namespace
