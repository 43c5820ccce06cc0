#include <gtest/gtest.h>

#include <list>

#include "cppmicroservices/LDAPFilter.h"
#include "tests/component_framework/framework_fixture.hpp"

namespace component_tests {
namespace {

using cppmicroservices::Any;
using cppmicroservices::AnyMap;
using cppmicroservices::LDAPFilter;

AnyMap const properties{{"cn", std::string("Babs Jensen")},
                        {"size", 7},
                        {"wide", 5'000'000'000LL},
                        {"share", 0.25},
                        {"on", true},
                        {"odd", std::string("a*(b)\\")},
                        {"empty", Any()},
                        {"words", std::vector<std::string>{"one", "two"}},
                        {"more", std::list<std::string>{"three"}},
                        {"mixed", std::vector<Any>{std::string("x"), 3}}};

bool matches(std::string const& filter) {
  return LDAPFilter(filter).Match(properties);
}

TEST(LDAPFilter, DefaultConstructedIsNoFilter) {
  LDAPFilter const none;
  EXPECT_EQ(none.ToString(), "");
  EXPECT_FALSE(none);
  EXPECT_FALSE(none.Match(properties)) << "by itself it matches nothing";
  EXPECT_EQ(none, LDAPFilter());
}

TEST_F(FrameworkTest, TheTextOfADefaultConstructedFilterFindsEveryService) {
  EXPECT_EQ(context().GetServiceReferences<Journal>(LDAPFilter().ToString()).size(), 1u);
}

TEST(LDAPFilter, EqualityComparesValuesWithCaseAndNamesWithout) {
  EXPECT_TRUE(matches("(cn=Babs Jensen)"));
  EXPECT_TRUE(matches("(CN=Babs Jensen)"));
  EXPECT_FALSE(matches("(cn=babs jensen)"));
  EXPECT_FALSE(matches("(cn=Babs)"));
  EXPECT_TRUE(LDAPFilter("(cn=*)").MatchCase(properties));
  EXPECT_FALSE(LDAPFilter("(CN=*)").MatchCase(properties));
}

TEST(LDAPFilter, WildcardsStandForAnyText) {
  for (auto const* filter : {"(cn=B*n)", "(cn=*Jensen)", "(cn=Babs*)", "(cn=*s*e*e*)", "(cn=*)",
                             "(cn=Babs Jensen*)", "(cn=**)"}) {
    EXPECT_TRUE(matches(filter)) << filter;
  }
  for (auto const* filter : {"(cn=b*)", "(cn=*x*)", "(cn=Babs Jensen*n)", "(cn=*e*e*e*)"}) {
    EXPECT_FALSE(matches(filter)) << filter;
  }
}

TEST(LDAPFilter, PresenceAsksForAnyValue) {
  EXPECT_TRUE(matches("(size=*)"));
  EXPECT_TRUE(matches("(words=*)"));
  EXPECT_FALSE(matches("(none=*)"));
  EXPECT_FALSE(matches("(empty=*)"));
}

TEST(LDAPFilter, NumbersCompareAsNumbers) {
  EXPECT_TRUE(matches("(size=7)"));
  EXPECT_TRUE(matches("(size>=7)"));
  EXPECT_TRUE(matches("(size<=10)"));
  EXPECT_FALSE(matches("(size>=10)"));
  EXPECT_FALSE(matches("(size=x)"));
  EXPECT_FALSE(matches("(size=99999999999999999999)"));
  EXPECT_TRUE(matches("(wide>=4999999999)"));
  EXPECT_TRUE(matches("(share=0.25)"));
  EXPECT_TRUE(matches("(share<=0.3)"));
  EXPECT_FALSE(matches("(share>=0.3)"));
}

TEST(LDAPFilter, TextsAreOrderedByTheirBytes) {
  EXPECT_TRUE(matches("(cn>=Babs)"));
  EXPECT_FALSE(matches("(cn<=Babs)"));
  EXPECT_TRUE(matches("(cn<=C)"));
}

TEST(LDAPFilter, ApproximationIgnoresCaseAndSpace) {
  EXPECT_TRUE(matches("(cn~=babsJENSEN)"));
  EXPECT_TRUE(matches("(cn~= b a b s jensen )"));
  EXPECT_FALSE(matches("(cn~=babs)"));
}

TEST(LDAPFilter, TruthValuesAreWords) {
  EXPECT_TRUE(matches("(on=TRUE)"));
  EXPECT_FALSE(matches("(on=false)"));
  EXPECT_FALSE(matches("(on>=true)"));
}

TEST(LDAPFilter, AListMatchesByOneOfItsElements) {
  EXPECT_TRUE(matches("(words=two)"));
  EXPECT_TRUE(matches("(more=th*)"));
  EXPECT_TRUE(matches("(mixed=3)"));
  EXPECT_FALSE(matches("(words=three)"));
}

TEST(LDAPFilter, AndOrNot) {
  EXPECT_TRUE(matches("(&(size=7)(on=true))"));
  EXPECT_FALSE(matches("(&(size=7)(on=false))"));
  EXPECT_TRUE(matches("(|(size=8)(on=true))"));
  EXPECT_FALSE(matches("(|(size=8)(on=false))"));
  EXPECT_TRUE(matches("(!(size=8))"));
  EXPECT_FALSE(matches("(!(size=7))"));
  EXPECT_TRUE(matches("(!(none=x))"));
  EXPECT_TRUE(matches("(&(|(a=1)(size=7))(!(&(on=true)(size=8))))"));
}

TEST(LDAPFilter, ABackslashTakesAUnitAsItIs) {
  EXPECT_TRUE(matches("(odd=a\\*\\(b\\)\\\\)"));
  EXPECT_FALSE(matches("(odd=a\\*)"));
  EXPECT_TRUE(matches("(odd=*(b)*)")) << "parentheses in pairs need none";
}

TEST(LDAPFilter, ToStringLeavesOutSpaceWithoutMeaning) {
  EXPECT_EQ(LDAPFilter(" ( & (a=1) ( ! (b >=2) ) ) ").ToString(), "(&(a=1)(!(b>=2)))");
  EXPECT_EQ(LDAPFilter("(odd=a\\*\\(x*)").ToString(), "(odd=a\\*\\(x*)");
  EXPECT_EQ(LDAPFilter("(a~=b)"), LDAPFilter("( a~=b)"));
}

TEST(LDAPFilter, WhatCannotBeReadIsRefused) {
  for (auto const* filter :
       {"", " ", "a=b", "(a=b", "(a=b))", "()", "(&)", "(!)", "(!(a=1)(b=2))", "(=b)", "(a)",
        "(a>b)", "(a=b)x", "(a=(b)", "(a=b\\", "(&(a=1)", "(|", "(a<b)"}) {
    EXPECT_THROW(LDAPFilter{std::string(filter)}, std::invalid_argument) << filter;
  }
}

TEST_F(FrameworkTest, AFilterMatchesABundlesHeadersAndAServicesProperties) {
  auto const bundle = install("passive/passive");
  EXPECT_TRUE(LDAPFilter("(bundle.symbolic_name=pass*)").Match(bundle));
  auto const reference = context().GetServiceReference<Journal>();
  EXPECT_TRUE(LDAPFilter("(objectclass=component_tests::Journal)").Match(reference));
}

}  // namespace
}  // namespace component_tests
