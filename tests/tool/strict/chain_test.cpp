// Chains: their length, each fault of a certificate, and the time that they are judged at.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/tool/strict/tokens.h"

namespace qex::test {
namespace {

using tool::Chain;
using tool::ChainResult;

// A root, intermediates below it and a signer, whose plans a test changes before they are made.
struct Line {
  explicit Line(size_t intermediates) {
    plans.resize(intermediates + 2);
    for (size_t i = 0; i < plans.size(); ++i) {
      plans[i].key = "ec:P-256/" + std::to_string(i);
      plans[i].serial = 100 + int64_t(i);
      plans[i].subject = i == 0 ? "Example Root" : "Example CA " + std::to_string(i);
      plans[i].extensions = AuthorityExtensions();
    }
    plans.back().subject = "Example TSA";
    plans.back().extensions = SignerExtensions();
  }

  void make() {
    made.clear();
    made.reserve(plans.size());
    for (CertificatePlan& plan : plans) {
      plan.issuer = made.empty() ? nullptr : &made.back();
      made.push_back(Make(plan));
    }
  }

  // The token holds the signer's certificate and the intermediates.
  Octets token() const {
    TokenPlan plan(made.back());
    plan.certificates = std::vector<Octets>{};
    for (size_t i = made.size() - 1; i > 0; --i) plan.certificates->push_back(made[i].der());
    return plan.encode();
  }

  Chain chain(
      const std::function<void(tool::Trust&)>& change = [](tool::Trust&) {}, bool allowWeak = false) {
    make();
    tool::Trust trust = Trusting({&made[0]});
    change(trust);
    return *Read(token(), trust, allowWeak).chain;
  }

  std::vector<CertificatePlan> plans;  // from the root to the signer
  std::vector<Certificate> made;
};

TEST(StrictChain, ChainsOfEveryLengthAreTrusted) {
  for (size_t intermediates = 0; intermediates < 5; ++intermediates) {
    const Chain chain = Line(intermediates).chain();
    EXPECT_EQ(chain.result, ChainResult::Trusted) << chain.text;
    EXPECT_EQ(chain.text, "");
    EXPECT_EQ(chain.anchor, "Example Root");
    EXPECT_EQ(chain.length, intermediates + 2);
  }
}

TEST(StrictChain, ASignerThatIsARootIsAChainOfOne) {
  CertificatePlan plan;
  plan.extensions = SignerExtensions();
  const Certificate signer = Make(plan);
  const auto reading = Read(TokenPlan(signer).encode(), Trusting({&signer}));
  EXPECT_EQ(reading.chain->result, ChainResult::Trusted) << reading.chain->text;
  EXPECT_EQ(reading.chain->length, 1u);
  EXPECT_TRUE(reading.keyUsage->good) << reading.keyUsage->text;
  EXPECT_EQ(Read(TokenPlan(signer).encode(), Trusting({})).chain->result, ChainResult::NotFound);
}

TEST(StrictChain, NoChainIsJudgedUnlessOneIsWanted) {
  const Certificate root = MakeRoot();
  EXPECT_FALSE(Read(TokenPlan(MakeSigner(root)).encode()).chain);
}

TEST(StrictChain, WithoutTheRootThereIsNone) {
  Line line(1);
  const Certificate other = MakeRoot("Another Root", "ec:P-256/another");
  const Chain chain = line.chain([&](tool::Trust& trust) { trust.roots = {Item(other.der())}; });
  EXPECT_EQ(chain.result, ChainResult::NotFound);
  EXPECT_NE(chain.text.find("\"Example Root\""), std::string::npos) << chain.text;
  EXPECT_EQ(chain.anchor, "");
}

TEST(StrictChain, ARootOfTheSameNameWithAnotherKeyIsNotAnAnchor) {
  Line line(0);
  const Certificate other = MakeRoot("Example Root", "ec:P-256/another");
  EXPECT_NE(line.chain([&](tool::Trust& trust) { trust.roots = {Item(other.der())}; }).result,
            ChainResult::Trusted);
}

TEST(StrictChain, AnIntermediateAloneIsNotAnAnchor) {
  Line line(1);
  const Chain chain = line.chain([&](tool::Trust& trust) { trust.roots = {Item(line.made[1].der())}; });
  EXPECT_EQ(chain.result, ChainResult::NotFound);
  EXPECT_EQ(line.chain([&](tool::Trust& trust) { trust.roots = {Item(line.made[2].der())}; }).result,
            ChainResult::NotFound);
}

TEST(StrictChain, IntermediatesComeFromTheTokenOrFromTheCaller) {
  Line line(2);
  line.make();
  const Octets token = TokenPlan(line.made.back()).encode();
  tool::Trust trust = Trusting({&line.made[0]});
  EXPECT_EQ(Read(token, trust).chain->result, ChainResult::NotFound);
  trust.untrusted = {Item(line.made[1].der()), Item(line.made[2].der())};
  EXPECT_EQ(Read(token, trust).chain->result, ChainResult::Trusted);
}

TEST(StrictChain, RootsOfTheSystemCountAndUnreadableOnesDoNot) {
  Line line(0);
  const Chain chain = line.chain([&](tool::Trust& trust) {
    trust.systemRoots = {Item({0x30, 0x00}), Item(line.made[0].der())};
    trust.roots.clear();
  });
  EXPECT_EQ(chain.result, ChainResult::Trusted) << chain.text;
}

TEST(StrictChain, EveryCertificateMustBeValidAtTheTime) {
  for (size_t at = 0; at < 3; ++at) {
    SCOPED_TRACE(at);
    Line line(1);
    line.plans[at].until = kGenTime - 1;
    Chain chain = line.chain();
    EXPECT_EQ(chain.result, ChainResult::Expired) << chain.text;
    EXPECT_NE(chain.text.find('"' + line.plans[at].subject + '"'), std::string::npos) << chain.text;
    EXPECT_NE(chain.text.find("2024-11-15T07:59:59Z"), std::string::npos) << chain.text;
    line.plans[at].until = kGenTime;
    EXPECT_EQ(line.chain().result, ChainResult::Trusted);
    line.plans[at].until = kGenTime + kYear;
    line.plans[at].from = kGenTime + 1;
    chain = line.chain();
    EXPECT_EQ(chain.result, ChainResult::NotYetValid) << chain.text;
    EXPECT_NE(chain.text.find('"' + line.plans[at].subject + '"'), std::string::npos) << chain.text;
    line.plans[at].from = kGenTime;
    EXPECT_EQ(line.chain().result, ChainResult::Trusted);
  }
}

TEST(StrictChain, TheTimeIsTheOneAskedFor) {
  Line line(1);
  line.plans[2].until = kGenTime + kYear;
  EXPECT_EQ(line.chain([](tool::Trust& trust) { trust.time = tool::TrustTime::Now; }).result,
            ChainResult::Expired);
  const auto at = [&](int64_t time) {
    return line.chain([&](tool::Trust& trust) {
      trust.time = tool::TrustTime::Given;
      trust.givenTime = time;
    });
  };
  EXPECT_EQ(at(kGenTime + kYear).result, ChainResult::Trusted);
  EXPECT_EQ(at(kGenTime + kYear + 1).result, ChainResult::Expired);
  EXPECT_EQ(at(kGenTime - kYear - 1).result, ChainResult::NotYetValid);
}

TEST(StrictChain, WithoutATimeNothingIsJudged) {
  const Certificate root = MakeRoot();
  TokenPlan plan(MakeSigner(root));
  plan.info.gen_time = der::generalized_time("20241315080000Z");
  const auto reading = Read(plan.encode(), Trusting({&root}));
  EXPECT_EQ(reading.chain->result, ChainResult::NoTime);
  EXPECT_FALSE(reading.validity);
  EXPECT_FALSE(reading.revocation);
}

TEST(StrictChain, ConstraintsOfAuthoritiesHold) {
  const struct {
    const char* name;
    size_t at;  // 0: the root
    Extensions extensions;
    ChainResult result;
  } cases[] = {
      {"path length", 0, AuthorityExtensions("critical,CA:TRUE,pathlen:0"), ChainResult::Constraints},
      {"path length that suffices", 1, AuthorityExtensions("critical,CA:TRUE,pathlen:0"),
       ChainResult::Trusted},
      {"no CA", 1, {{"basicConstraints", "critical,CA:FALSE"}}, ChainResult::Constraints},
      {"no basic constraints", 1, {{"keyUsage", "critical,digitalSignature"}}, ChainResult::Constraints},
      {"key usage without basic constraints",
       1,
       {{"keyUsage", "critical,keyCertSign"}},
       ChainResult::Constraints},
      {"no usage for certificates",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "critical,cRLSign"}},
       ChainResult::Constraints},
      {"permitted names",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"nameConstraints", "critical,permitted;DNS:example.org"}},
       ChainResult::Constraints},
      {"excluded names",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"nameConstraints", "critical,excluded;DNS:example.com"}},
       ChainResult::Constraints},
      {"names that are permitted",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"nameConstraints", "critical,permitted;DNS:example.com"}},
       ChainResult::Trusted},
      {"a policy that is demanded",
       1,
       {{"basicConstraints", "critical,CA:TRUE"},
        {"certificatePolicies", "DER:3007300506032A0304"},
        {"policyConstraints", "critical,requireExplicitPolicy:0"}},
       ChainResult::Constraints},
      {"an unknown critical extension",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"1.2.3.4", "critical,DER:0500"}},
       ChainResult::Faulty},
      {"an unknown extension",
       1,
       {{"basicConstraints", "critical,CA:TRUE"}, {"1.2.3.4", "DER:0500"}},
       ChainResult::Trusted},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    Line line(1);
    line.plans[one.at].extensions = one.extensions;
    line.plans[2].extensions.emplace_back("subjectAltName", "DNS:tsa.example.com");
    const Chain chain = line.chain();
    EXPECT_EQ(chain.result, one.result) << chain.text;
    EXPECT_EQ(chain.text.empty(), one.result == ChainResult::Trusted);
  }
}

TEST(StrictChain, AnyPolicyOfTheWholePathWillDo) {
  const auto judged = [](const std::string& authority, const std::string& signer) {
    Line line(1);
    line.plans[1].extensions.push_back({"policyConstraints", "critical,requireExplicitPolicy:0"});
    line.plans[1].extensions.push_back({"certificatePolicies", authority});
    if (!signer.empty()) line.plans[2].extensions.push_back({"certificatePolicies", signer});
    return line.chain();
  };
  const char* const kOne = "DER:3007300506032A0304";  // 1.2.3.4
  EXPECT_EQ(judged(kOne, kOne).result, ChainResult::Trusted);
  EXPECT_EQ(judged(kOne, "DER:3007300506032A0305").result, ChainResult::Constraints);
  EXPECT_EQ(judged(kOne, "").result, ChainResult::Constraints);
}

TEST(StrictChain, ATooShortCurveNeverFormsALink) {
  Line line(1);
  line.plans[1].key = "ec:secp128r1/1";
  EXPECT_EQ(line.chain([](tool::Trust&) {}, true).result, ChainResult::Weak);
  line.plans[1].key = "ec:secp160r1/1";
  EXPECT_EQ(line.chain([](tool::Trust&) {}, true).result, ChainResult::Trusted);
}

TEST(StrictChain, AForgedCertificateFormsNoLink) {
  Line line(1);
  line.make();
  CertificatePlan forged = line.plans[2];
  Certificate impostor = line.made[1];
  impostor.key = MakeKey("ec:P-256/impostor");
  forged.issuer = &impostor;
  TokenPlan plan(Make(forged));
  plan.certificates = {plan.signer.der(), line.made[1].der()};
  const Chain chain = *Read(plan.encode(), Trusting({&line.made[0]})).chain;
  EXPECT_EQ(chain.result, ChainResult::Faulty) << chain.text;
}

TEST(StrictChain, WeakKeysAndDigestsNeedPermission) {
  const struct {
    size_t at;
    const char* key;
    const char* digest;
    bool evenThen;  // is it weak with permission too?
  } cases[] = {
      {2, "rsa:1024", "SHA256", false}, {1, "rsa:1024/ca", "SHA256", false}, {1, "rsa:768", "SHA256", true},
      {2, "rsa:768", "SHA256", true},   {2, "ec:P-256", "SHA1", false},      {1, "ec:P-256", "SHA1", false},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(std::string(one.key) + one.digest + std::to_string(one.at));
    Line line(1);
    line.plans[one.at].key = one.key;
    line.plans[one.at].digest = one.digest;
    const auto nothing = [](tool::Trust&) {};
    const Chain strict = line.chain();
    EXPECT_EQ(strict.result, ChainResult::Weak) << strict.text;
    EXPECT_NE(strict.text.find('"' + line.plans[one.at].subject + '"'), std::string::npos) << strict.text;
    EXPECT_EQ(line.chain(nothing, true).result, one.evenThen ? ChainResult::Weak : ChainResult::Trusted);
  }
}

TEST(StrictChain, AnUnknownSignatureAlgorithmIsNamedAsSuch) {
  Line line(1);
  line.make();
  const Octets known = der::oid("1.2.840.10045.4.3.2");
  const Octets unknown = der::oid("1.2.840.10045.4.3.99");
  Octets authority = line.made[1].der();
  for (auto at = authority.begin();;) {
    at = std::search(at, authority.end(), known.begin(), known.end());
    if (at == authority.end()) break;
    std::copy(unknown.begin(), unknown.end(), at);
  }
  TokenPlan plan(line.made[2]);
  plan.certificates = {line.made[2].der(), authority};
  for (const bool allowWeak : {false, true}) {
    const Chain chain = *Read(plan.encode(), Trusting({&line.made[0]}), allowWeak).chain;
    EXPECT_EQ(chain.result, ChainResult::Faulty);
    EXPECT_NE(chain.text.find("not known"), std::string::npos) << chain.text;
  }
}

TEST(StrictChain, TheRootsOwnSignatureDoesNotMatter) {
  Line line(0);
  line.plans[0].digest = "SHA1";
  EXPECT_EQ(line.chain().result, ChainResult::Trusted);
}

// Another certificate of the same name must not hide the valid path.
TEST(StrictChain, TwinsDoNotHideAGoodPath) {
  for (const bool first : {true, false}) {
    for (const char* fault : {"key", "expired", "not yet", "no CA"}) {
      SCOPED_TRACE(fault);
      Line line(1);
      line.make();
      CertificatePlan plan = line.plans[1];
      plan.issuer = &line.made[0];
      plan.serial = 999;
      if (fault == std::string("key")) plan.key = "ec:P-256/twin";
      if (fault == std::string("expired")) plan.until = kGenTime - kDay;
      if (fault == std::string("not yet")) plan.from = kGenTime + kDay;
      if (fault == std::string("no CA")) plan.extensions = {{"basicConstraints", "critical,CA:FALSE"}};
      const Octets twin = Make(plan).der();
      const Octets good = line.made[1].der();
      TokenPlan token(line.made[2]);
      token.certificates = {line.made[2].der(), first ? twin : good, first ? good : twin};
      const Chain chain = *Read(token.encode(), Trusting({&line.made[0]})).chain;
      EXPECT_EQ(chain.result, ChainResult::Trusted) << chain.text;
    }
  }
}

TEST(StrictChain, TwinsOfTheRootDoNotHideIt) {
  for (const bool first : {true, false}) {
    Line line(0);
    line.make();
    CertificatePlan plan = line.plans[0];
    plan.key = "ec:P-256/twin";
    const Certificate twin = Make(plan);
    const std::vector<const Certificate*> roots = first
                                                      ? std::vector<const Certificate*>{&twin, &line.made[0]}
                                                      : std::vector<const Certificate*>{&line.made[0], &twin};
    const Chain chain = *Read(line.token(), Trusting(roots)).chain;
    EXPECT_EQ(chain.result, ChainResult::Trusted) << chain.text;
  }
}

// A crossed certificate leads to a root that is not trusted; the trusted one is reached without it.
TEST(StrictChain, CrossedCertificatesLeaveAWay) {
  Line line(1);
  line.make();
  const Certificate other = MakeRoot("Another Root", "ec:P-256/another");
  CertificatePlan crossed = line.plans[0];
  crossed.issuer = &other;
  TokenPlan token(line.made[2]);
  token.certificates = {line.made[2].der(), line.made[1].der(), Make(crossed).der(), other.der()};
  EXPECT_EQ(Read(token.encode(), Trusting({&line.made[0]})).chain->result, ChainResult::Trusted);
  EXPECT_EQ(Read(token.encode(), Trusting({&other})).chain->length, 4u);
}

TEST(StrictChain, LoopsAndManyTwinsEnd) {
  Line line(1);
  line.make();
  CertificatePlan loop = line.plans[1];
  TokenPlan token(line.made[2]);
  token.certificates = {line.made[2].der()};
  for (int i = 0; i < 200; ++i) {
    loop.serial = 1000 + i;
    loop.issuer = &line.made[1];  // issued by its own name
    token.certificates->push_back(Make(loop).der());
  }
  EXPECT_NE(Read(token.encode(), Trusting({&line.made[0]})).chain->result, ChainResult::Trusted);
}

TEST(StrictChain, MoreThanTheDepthIsRefused) {
  EXPECT_EQ(Line(10).chain().result, ChainResult::Trusted);
  EXPECT_NE(Line(11).chain().result, ChainResult::Trusted);
}

}  // namespace
}  // namespace qex::test
