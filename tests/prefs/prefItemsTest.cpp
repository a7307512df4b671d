#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

namespace {

// Takes the engine's items out of the manager for one test and puts them
// back, so that other tests see the start-up state.
class WithoutPreferences : public ::testing::Test {
protected:
    void SetUp() override
    {
        TglobalPrefMgr::getPrefItem(kPrefKeyTangentId, fKeyTangent);
        TglobalPrefMgr::getPrefItem(kPrefAnimDisplayId, fAnimDisplay);
        TglobalPrefMgr::removePrefItem(fKeyTangent);
        TglobalPrefMgr::removePrefItem(fAnimDisplay);
    }
    void TearDown() override
    {
        TglobalPrefMgr::addPrefItem(fKeyTangent);
        TglobalPrefMgr::addPrefItem(fAnimDisplay);
    }
    TpreferenceItem* fKeyTangent = nullptr;
    TpreferenceItem* fAnimDisplay = nullptr;
};

TEST(PreferenceItems, RegisteredAtStartUpWithDefaults)
{
    TprefKeyframe* keyTangent = keyTangentPreference();
    ASSERT_NE(keyTangent, nullptr);
    EXPECT_EQ(keyTangent->itemType(), 201);
    EXPECT_EQ(keyTangent->flags(), 17u);
    EXPECT_EQ(keyTangent->inTangentType(), kTangentSpline);
    EXPECT_FALSE(keyTangent->weightedTangents());
    ASSERT_NE(animDisplayPreference(), nullptr);
    EXPECT_EQ(animDisplayPreference()->itemType(), 202);
    EXPECT_TRUE(TprefKeyframeTmeta->istype(TpreferenceItemTmeta));
    ASSERT_NE(TgeometryBasket::instance(), nullptr);
    EXPECT_EQ(TgeometryBasket::instance()->itemCount(), 2u);
}

TEST(PreferenceItems, CommandStrings)
{
    struct Case {
        TtangentType fIn;
        TtangentType fOut;
        bool fWeighted;
        char const* fCommand;
    };
    Case const cases[] = {
        {kTangentSpline, kTangentSpline, false,
         "keyTangent -global -inTangentType spline -outTangentType spline -weightedTangents false;"},
        {kTangentSmooth, kTangentSpline, false,
         "keyTangent -global -inTangentType -outTangentType spline -weightedTangents false;"},
        {kTangentAuto, kTangentPlateau, true,
         "keyTangent -global -inTangentType auto -outTangentType plateau -weightedTangents true;"},
        {kTangentFixed, kTangentStep, false,
         "keyTangent -global -inTangentType fixed -outTangentType step -weightedTangents false;"},
        {kTangentClamped, kTangentFlat, false,
         "keyTangent -global -inTangentType clamped -outTangentType flat -weightedTangents false;"},
        {kTangentSlow, kTangentFast, false,
         "keyTangent -global -inTangentType slow -outTangentType fast -weightedTangents false;"},
        {kTangentLinear, static_cast<TtangentType>(500), false,
         "keyTangent -global -inTangentType linear -outTangentType -weightedTangents false;"},
    };
    for (Case const& c : cases) {
        TprefKeyframe preference;
        preference.setInTangentType(c.fIn);
        preference.setOutTangentType(c.fOut);
        preference.setWeightedTangents(c.fWeighted);
        Tstring text;
        preference.commandString(text);
        EXPECT_EQ(text, c.fCommand);
    }
    for (bool editable : {false, true}) {
        TprefAnim anim;
        if (editable) {
            anim.setRefAnimCurvesEditable(true);  // false is the default
        }
        Tstring text;
        anim.commandString(text);
        EXPECT_EQ(text,
                  editable ? "animDisplay -refAnimCurvesEditable true;" : "animDisplay -refAnimCurvesEditable false;");
    }
}

TEST(PreferenceItems, NewKeysAndCurvesFollowThem)
{
    TprefKeyframe* keyTangent = keyTangentPreference();
    keyTangent->setInTangentType(kTangentFlat);
    keyTangent->setOutTangentType(kTangentClamped);
    keyTangent->setWeightedTangents(true);
    Tkeyframe key;
    TparamCurve curve(true);
    keyTangent->setInTangentType(kTangentSpline);
    keyTangent->setOutTangentType(kTangentSpline);
    keyTangent->setWeightedTangents(false);
    EXPECT_EQ(key.storedTanInType(), kTangentFlat);
    EXPECT_EQ(key.storedTanOutType(), kTangentClamped);
    EXPECT_TRUE(curve.isWeighted());

    TprefAnim* anim = animDisplayPreference();
    EXPECT_FALSE(TparamCurve::refAnimCurvesEditable());
    anim->setRefAnimCurvesEditable(true);
    EXPECT_TRUE(TparamCurve::refAnimCurvesEditable());
    curve.setCurveFlag(TparamCurve::kReferencedBit, true);
    curve.add(Tkeyframe(0.0f, 1.0, kTangentFixed, kTangentFixed));
    EXPECT_EQ(curve.keyframeCount(), 1u) << "editable referenced curves need no helper";
    anim->setRefAnimCurvesEditable(false);
}

TEST_F(WithoutPreferences, KeysFallBackToSplineCurvesToWeightedAndStrangersAreRefused)
{
    Tkeyframe key;
    EXPECT_EQ(key.storedTanInType(), kTangentSpline);
    EXPECT_EQ(key.storedTanOutType(), kTangentSpline);
    TparamCurve curve(false);
    EXPECT_TRUE(curve.isWeighted());
    EXPECT_FALSE(TparamCurve::refAnimCurvesEditable());

    class Tstranger : public TpreferenceItem {
    public:
        Tstranger() { setItemType(kPrefAnimDisplayId); }
    } stranger;
    TglobalPrefMgr::addPrefItem(&stranger);
    EXPECT_EQ(animDisplayPreference(), nullptr);
    EXPECT_FALSE(TparamCurve::refAnimCurvesEditable());
    TglobalPrefMgr::removePrefItem(&stranger);
}

}  // namespace
