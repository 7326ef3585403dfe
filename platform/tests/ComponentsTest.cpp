#include "platform/ComponentParameterBlock.h"
#include "platform/tests/component/TestComponent.h"
#include "testing/Testing.h"

#include <set>

namespace velnor::testing {
namespace {

std::string Registration(const std::string& subType, const std::string& entry = "TestEntry") {
    return "<dict><key>type</key><string>aumu</string><key>subtype</key><string>" + subType +
           "</string><key>manufacturer</key><string>VELN</string><key>entry</key><string>" + entry +
           "</string><key>name</key><string>Test " + subType +
           "</string><key>version</key><integer>7</integer></dict>";
}

std::string ExecutableOf(const std::string& bundle) {
    return bundle + "/Contents/" VELNOR_PLATFORM_FOLDER "/test";
}

// Makes a bundle that holds the test component and lists these registrations.
std::string MakeBundle(const std::string& path, const std::string& registrations) {
    WriteFile(path + "/Contents/Info.plist",
              PlistFile("<key>CFBundleExecutable</key><string>test</string>"
                        "<key>VelnorComponents</key>" +
                        registrations));
    std::filesystem::create_directories(std::filesystem::path(ExecutableOf(path)).parent_path());
    std::filesystem::copy_file(VELNOR_TEST_COMPONENT, ExecutableOf(path));
    return path;
}

std::string MakeBundleWith(const std::string& path, const std::string& subType) {
    return MakeBundle(path, "<array>" + Registration(subType) + "</array>");
}

std::vector<Component> Register(const std::string& path, UInt32 maximum = 2) {
    std::vector<Component> components(maximum);
    UInt32 count = 0;
    EXPECT_EQ(PlatformRegisterComponentBundle(path.c_str(), components.data(), maximum, &count),
              noErr);
    components.resize(count);
    return components;
}

std::string Adopted(CFStringRef text) {
    return Text(CFRef(text).Get());
}

ComponentDescription Codes(OSType subType) {
    return {Code("aumu"), subType, Code("VELN"), 0, 0};
}

TEST(ComponentRegistration, EntriesOfTheWrongTypeAreLeftOut) {
    const std::string good = Registration("wrng");
    const std::string noCodes = "<dict><key>entry</key><string>TestEntry</string></dict>";
    const std::string longCode = Registration("wrngs");
    const std::string numberCode =
        "<dict><key>type</key><integer>5</integer><key>subtype</key><string>abcd</string><key>"
        "manufacturer</key><string>VELN</string><key>entry</key><string>E</string></dict>";
    for (const auto& [registrations, status, expected] : Rows<std::string, OSStatus, UInt32>{
             {"<array>" + good + "</array>", noErr, 1},
             {"<array><string>x</string><integer>1</integer>" + good + "</array>", noErr, 1},
             {"<array>" + noCodes + longCode + numberCode + Registration("none", "") + "</array>",
              paramErr, 0},
             {"<array/>", paramErr, 0},
             {"<string>aumu</string>", paramErr, 0},
             {good, paramErr, 0},
             {"<broken", paramErr, 0}}) {
        SCOPED_TRACE(registrations);
        const TempFolder folder;
        const std::string bundle = MakeBundle(folder / "a.component", registrations);
        UInt32 count = 99;
        EXPECT_EQ(PlatformRegisterComponentBundle(bundle.c_str(), nullptr, 0, &count), status);
        EXPECT_EQ(count, expected);
    }
    UInt32 count = 99;
    EXPECT_EQ(PlatformRegisterComponentBundle("/nowhere.component", nullptr, 0, &count), fnfErr);
}

TEST(ComponentRegistration, ABundleRegistersOnceWhateverItsPathLooksLike) {
    const TempFolder folder;
    const std::string path =
        MakeBundle(folder / "a.component",
                   "<array>" + Registration("onc1") + Registration("onc2") + "</array>");
    std::filesystem::create_directory_symlink(path, folder / "b.component");
    const auto first = Register(path);
    ASSERT_EQ(first.size(), 2u);
    EXPECT_THAT(Register(folder / "b.component/", 1), ElementsAre(first[0], nullptr));
    EXPECT_EQ(Adopted(PlatformComponentCopyBundlePath(first[1])), path);
    EXPECT_EQ(Adopted(PlatformComponentCopyName(first[1])), "Test onc2");
    EXPECT_EQ(PlatformComponentRegisteredVersion(first[1]), 7);

    const std::string info = path + "/Contents/Info.plist";
    std::string newer = ReadFile(info);
    newer.replace(newer.find("<integer>7"), 10, "<integer>8");
    WriteFile(info, newer);
    const auto second = Register(path);
    ComponentDescription codes = Codes(Code("onc1"));
    EXPECT_EQ(FindNextComponent(nullptr, &codes), second[0]);
    EXPECT_EQ(PlatformComponentRegisteredVersion(second[0]), 8);
}

TEST(ComponentSearch, FirstFolderWinsAndABundleThatIsGoneIsNotFound) {
    const TempHome home;
    const TempFolder own;
    const ScopedEnv path("VELNOR_COMPONENT_PATH", own.Path().c_str());
    const std::string first = MakeBundleWith(own / "z.component", "srch");
    const std::string second =
        MakeBundleWith(home.DataHome() + "/velnor/Components/a.component", "srch");
    MakeBundleWith(home.DataDirs() + "/velnor/Components/b.component", "srcx");
    MakeBundleWith(home.DataDirs() + "/velnor/Components/c.bundle", "srcy");
    PlatformRescanComponents();

    ComponentDescription wanted = Codes(Code("srch"));
    const Component found = FindNextComponent(nullptr, &wanted);
    EXPECT_EQ(Adopted(PlatformComponentCopyBundlePath(found)), first);
    EXPECT_EQ(FindNextComponent(found, &wanted), nullptr);
    EXPECT_EQ(CountComponents(&wanted), 1);

    ComponentDescription any = {0, 0, Code("VELN"), 0, 0};
    std::set<OSType> subTypes;
    for (Component c = FindNextComponent(nullptr, &any); c; c = FindNextComponent(c, &any)) {
        ComponentDescription codes = {};
        EXPECT_EQ(GetComponentInfo(c, &codes, nullptr, nullptr, nullptr), noErr);
        subTypes.insert(codes.componentSubType);
    }
    EXPECT_THAT(subTypes, AllOf(Contains(Code("srcx")), Not(Contains(Code("srcy")))));

    std::filesystem::remove_all(first);
    PlatformRescanComponents();
    EXPECT_EQ(Adopted(PlatformComponentCopyBundlePath(FindNextComponent(nullptr, &wanted))),
              second);
    EXPECT_EQ(OpenComponent(found), nullptr);
    EXPECT_THAT(Adopted(PlatformComponentCopyOpenError(found)), HasSubstr(first));
}

TEST(ComponentInstance, CodeIsHeldFromTheFirstOpenToTheLastClose) {
    const TempFolder folder;
    const std::string bundle = MakeBundleWith(folder / "a.component", "life");
    const Component component = Register(bundle).at(0);
    EXPECT_FALSE(IsLoaded(ExecutableOf(bundle)));
    const ComponentInstance one = OpenComponent(component);
    const ComponentInstance two = OpenComponent(component);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(CountComponentInstances(component), 2);
    EXPECT_EQ(GetComponentInstanceStorage(two), two);
    EXPECT_EQ(GetComponentVersion(one), kTestVersion);
    EXPECT_EQ(ComponentFunctionImplemented(one, kSumSelect), 1);
    auto sum = encode(kSumSelect, SInt32{-5}, SInt32{2});
    EXPECT_EQ(CallComponentDispatch(one, sum.Get()), -3);
    EXPECT_EQ(CallComponentDispatch(one, nullptr), paramErr);
    EXPECT_EQ(PlatformComponentOfInstance(one), component);
    const auto self = reinterpret_cast<Component>(one);
    ComponentDescription codes = {};
    EXPECT_EQ(GetComponentInfo(self, &codes, nullptr, nullptr, nullptr), noErr);
    EXPECT_THAT(codes, FieldsAre(Code("aumu"), Code("life"), Code("VELN"), _, _));
    char* text = nullptr;
    EXPECT_EQ(GetComponentInfo(self, &codes, &text, nullptr, nullptr), paramErr);
    EXPECT_EQ(CloseComponent(one), noErr);
    EXPECT_TRUE(IsLoaded(ExecutableOf(bundle)));
    EXPECT_EQ(CloseComponent(two), noErr);
    EXPECT_FALSE(IsLoaded(ExecutableOf(bundle)));
    EXPECT_EQ(CountComponentInstances(component), 0);
}

TEST(ComponentInstance, ClosedInsideItsOwnCallReturnsThroughCodeThatIsStillThere) {
    const TempFolder folder;
    const std::string bundle = MakeBundleWith(folder / "a.component", "self");
    const ComponentInstance instance = OpenComponent(Register(bundle).at(0));
    ASSERT_NE(instance, nullptr);
    const ComponentInstance other =
        OpenComponent(Register(MakeBundleWith(folder / "b.component", "othr")).at(0));
    auto close = encode(kCloseSelect, other);
    EXPECT_EQ(CallComponentDispatch(instance, close.Get()), kClosedAnswer);
    EXPECT_FALSE(IsLoaded(ExecutableOf(bundle)));
    EXPECT_EQ(CloseComponent(instance), badComponentInstance);
    EXPECT_EQ(CloseComponent(other), noErr);
}

TEST(ComponentInstance, FailedOpenKeepsTheStatusAndNothingElse) {
    const TempFolder folder;
    const std::string bundle =
        MakeBundle(folder / "a.component", "<array>" + Registration("fai1") +
                                               Registration("fai2", "NoSuchEntry") + "</array>");
    const auto components = Register(bundle);
    ASSERT_EQ(components.size(), 2u);
    ComponentInstance instance = nullptr;
    {
        const ScopedEnv status(kOpenStatusVariable, "-2147450878");
        EXPECT_EQ(PlatformOpenComponent(components[0], &instance), badComponentSelector);
        EXPECT_EQ(instance, nullptr);
        EXPECT_EQ(OpenAComponent(components[0], &instance), couldNotOpenComponent);
        EXPECT_EQ(OpenComponent(components[0]), nullptr);
    }
    EXPECT_EQ(CountComponentInstances(components[0]), 0);
    EXPECT_EQ(PlatformOpenComponent(components[1], &instance), couldNotOpenComponent);
    EXPECT_THAT(Adopted(PlatformComponentCopyOpenError(components[1])), HasSubstr("NoSuchEntry"));
    EXPECT_EQ(PlatformComponentCopyOpenError(components[0]), nullptr);
    EXPECT_FALSE(IsLoaded(ExecutableOf(bundle)));
    ASSERT_EQ(OpenAComponent(components[0], &instance), noErr);
    EXPECT_EQ(CloseComponent(instance), noErr);
}

TEST(ComponentInstance, ForeignPointersAreRefusedWithoutAnAccess) {
    ComponentDescription codes = {};
    ComponentInstance instance = nullptr;
    for (const std::uintptr_t address :
         {std::uintptr_t{0}, std::uintptr_t{1}, ~std::uintptr_t{7}}) {
        const auto component = reinterpret_cast<Component>(address);
        const auto other = reinterpret_cast<ComponentInstance>(address);
        EXPECT_EQ(GetComponentInfo(component, &codes, nullptr, nullptr, nullptr),
                  invalidComponentID);
        EXPECT_EQ(PlatformOpenComponent(component, &instance), invalidComponentID);
        EXPECT_EQ(CloseComponent(other), badComponentInstance);
        EXPECT_EQ(PlatformComponentOfInstance(other), nullptr);
        EXPECT_EQ(CountComponentInstances(component), 0);
        EXPECT_EQ(PlatformComponentCopyName(component), nullptr);
        SetComponentInstanceStorage(other, &codes);
    }
    EXPECT_EQ(GetComponentInstanceStorage(nullptr), nullptr);
    EXPECT_EQ(FindNextComponent(nullptr, nullptr), nullptr);
}

} // namespace
} // namespace velnor::testing
