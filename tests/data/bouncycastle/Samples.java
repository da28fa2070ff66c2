// Makes time-stamp requests, replies and tokens and attribute certificates with Bouncy Castle, in the
// current folder, and writes samples.txt: one record for each, with what was put into it. Keys are made for
// the occasion and thrown away. Run by make.sh.

import java.io.PrintStream;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.security.*;
import java.security.spec.*;
import java.text.SimpleDateFormat;
import java.util.*;
import java.util.function.Consumer;
import org.bouncycastle.asn1.*;
import org.bouncycastle.asn1.cms.AttributeTable;
import org.bouncycastle.asn1.cms.CMSAttributes;
import org.bouncycastle.asn1.cms.ContentInfo;
import org.bouncycastle.asn1.cms.SignedData;
import org.bouncycastle.asn1.cmp.PKIFailureInfo;
import org.bouncycastle.asn1.esf.SignerAttribute;
import org.bouncycastle.asn1.ess.*;
import org.bouncycastle.asn1.nist.NISTObjectIdentifiers;
import org.bouncycastle.asn1.oiw.OIWObjectIdentifiers;
import org.bouncycastle.asn1.pkcs.PKCSObjectIdentifiers;
import org.bouncycastle.asn1.x500.X500Name;
import org.bouncycastle.asn1.x509.*;
import org.bouncycastle.cert.*;
import org.bouncycastle.cert.jcajce.*;
import org.bouncycastle.cms.*;
import org.bouncycastle.cms.jcajce.*;
import org.bouncycastle.jce.provider.BouncyCastleProvider;
import org.bouncycastle.operator.*;
import org.bouncycastle.operator.jcajce.*;
import org.bouncycastle.tsp.*;
import org.bouncycastle.util.CollectionStore;
import org.bouncycastle.util.encoders.Hex;

public class Samples {
  static final ASN1ObjectIdentifier POLICY = new ASN1ObjectIdentifier("1.3.6.1.4.1.32473.1");
  static final ASN1ObjectIdentifier OTHER_POLICY = new ASN1ObjectIdentifier("1.3.6.1.4.1.32473.2");
  static final ASN1ObjectIdentifier TIMING_METRICS = new ASN1ObjectIdentifier("1.3.6.1.4.1.601.10.4.1");
  static final ASN1ObjectIdentifier TIMING_POLICY = new ASN1ObjectIdentifier("1.3.6.1.4.1.601.10.4.2");
  static final ASN1ObjectIdentifier ROLE = new ASN1ObjectIdentifier("2.5.4.72");
  static final Date FROM = new Date(1704067200000L);  // 2024-01-01 00:00:00 UTC
  static final Date UNTIL = new Date(2335219200000L);  // 2044-01-01
  static final byte[] DOCUMENT = "the data to be stamped\n".getBytes(StandardCharsets.UTF_8);
  static final SecureRandom RANDOM = new SecureRandom();

  static class Authority {
    String key;
    String algorithm;
    KeyPair pair;
    X509CertificateHolder certificate;
  }

  static PrintStream list;
  static final Map<String, Authority> authorities = new LinkedHashMap<>();
  static BigInteger serial = new BigInteger("0102030405060708090a0b0c0d0e0f80", 16);

  // --- Files ---------------------------------------------------------------------------

  static void write(String name, byte[] bytes) throws Exception {
    Files.write(Path.of(name), bytes);
  }

  static byte[] der(byte[] any) throws Exception {
    return ASN1Primitive.fromByteArray(any).getEncoded("DER");
  }

  static void record(String... words) {
    list.println();
    for (int i = 0; i < words.length; i += 2) list.println(words[i] + " = " + words[i + 1]);
  }

  static byte[] digest(String algorithm, byte[] data) throws Exception {
    return MessageDigest.getInstance(algorithm).digest(data);
  }

  // --- Keys and certificates -----------------------------------------------------------

  static void authority(String key, String algorithm, AlgorithmParameterSpec domain, int bits)
      throws Exception {
    Authority made = new Authority();
    made.key = key;
    made.algorithm = algorithm;
    KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, "BC");
    if (domain != null) {
      AlgorithmParameterGenerator parameters = AlgorithmParameterGenerator.getInstance("DSA", "SUN");
      parameters.init(domain);
      generator.initialize(parameters.generateParameters().getParameterSpec(DSAParameterSpec.class), RANDOM);
    } else {
      generator.initialize(bits, RANDOM);
    }
    made.pair = generator.generateKeyPair();
    X500Name name = new X500Name("C=SE,O=Example Trust,CN=Example TSA " + key);
    made.certificate =
        new JcaX509v3CertificateBuilder(
            name, new BigInteger(120, RANDOM), FROM, UNTIL, name, made.pair.getPublic())
            .addExtension(Extension.extendedKeyUsage, true,
                new ExtendedKeyUsage(KeyPurposeId.id_kp_timeStamping))
            .build(signer(made, "SHA256"));
    write("certificate_" + key + ".der", made.certificate.getEncoded());
    authorities.put(key, made);
  }

  static ContentSigner signer(Authority authority, String digest) throws Exception {
    return new JcaContentSignerBuilder(digest + "with" + authority.algorithm)
        .setProvider("BC").build(authority.pair.getPrivate());
  }

  // --- Attribute certificates ----------------------------------------------------------

  static ASN1Encodable time(long major, long micros, int sign) {
    ASN1EncodableVector v = new ASN1EncodableVector();
    v.add(new ASN1Integer(major));
    v.add(new ASN1Integer(micros));
    if (sign != 0) v.add(new ASN1Integer(sign));
    return new DERSequence(v);
  }

  static DERSequence sequence(ASN1Encodable... parts) {
    return new DERSequence(parts);
  }

  // 2024-01-01 00:00:00, offset -0.25 s, delay 1.5 s, until 2025-01-01, a leap second before 2017-01-01.
  static ASN1Encodable metrics() {
    return sequence(time(3913056000L, 0, 0), time(0, 250000, -1), time(1, 500000, 0), time(3944678400L, 0, 0),
        new DERSet(sequence(time(3692217600L, 0, 0), new ASN1Integer(1))));
  }

  static ASN1Encodable policy() {
    return sequence(sequence(sequence(OTHER_POLICY)), new DERTaggedObject(true, 0, time(2, 0, 0)),
        new DERTaggedObject(true, 1, time(0, 125000, 0)));
  }

  static byte[] attributeCertificate(String name, Authority authority, String digest, BigInteger number,
      AttributeCertificateHolder holder, String says) throws Exception {
    X509v2AttributeCertificateBuilder builder = new X509v2AttributeCertificateBuilder(
        holder, new AttributeCertificateIssuer(authority.certificate.getSubject()), number, FROM, UNTIL);
    builder.addAttribute(TIMING_METRICS, metrics());
    builder.addAttribute(TIMING_POLICY, policy());
    return attributeCertificate(name, builder.build(signer(authority, digest)), authority, says);
  }

  static byte[] attributeCertificate(String name, X509AttributeCertificateHolder made, Authority authority,
      String says) throws Exception {
    byte[] der = der(made.getEncoded());
    write("tac_" + name + ".der", der);
    record("Kind", "tac", "Name", "tac_" + name + ".der", "Key", authority.key, "Says", says,
        "Serial", Hex.toHexString(made.getSerialNumber().toByteArray()),
        "Signature", Hex.toHexString(made.getSignature()),
        "Algorithm", made.getSignatureAlgorithm().getAlgorithm().getId());
    return der;
  }

  // The builder has no holder of a name and a digest together: the parts are put together by hand.
  static byte[] fullAttributeCertificate(String name, Authority authority, String digest, BigInteger number)
      throws Exception {
    byte[] hash = digest("SHA-256", authority.certificate.getEncoded());
    GeneralNames names = new GeneralNames(new GeneralName(authority.certificate.getSubject()));
    Holder holder = Holder.getInstance(sequence(new DERTaggedObject(false, 1, names),
        new DERTaggedObject(false, 2, new ObjectDigestInfo(ObjectDigestInfo.publicKeyCert, null,
            new AlgorithmIdentifier(NISTObjectIdentifiers.id_sha256), hash))));
    ContentSigner signer = signer(authority, digest);
    V2AttributeCertificateInfoGenerator generator = new V2AttributeCertificateInfoGenerator();
    generator.setHolder(holder);
    generator.setIssuer(new AttCertIssuer(new V2Form(names)));
    generator.setSignature(signer.getAlgorithmIdentifier());
    generator.setSerialNumber(new ASN1Integer(number));
    generator.setStartDate(new ASN1GeneralizedTime(FROM));
    generator.setEndDate(new ASN1GeneralizedTime(UNTIL));
    generator.addAttribute(new Attribute(TIMING_METRICS, new DERSet(metrics())));
    generator.addAttribute(new Attribute(TIMING_POLICY, new DERSet(policy())));
    AttributeCertificateInfo info = generator.generateAttributeCertificateInfo();
    signer.getOutputStream().write(info.getEncoded("DER"));
    AttributeCertificate made = new AttributeCertificate(info, signer.getAlgorithmIdentifier(),
        new DERBitString(signer.getSignature()));
    return attributeCertificate(name, new X509AttributeCertificateHolder(made), authority, "name+digest");
  }

  // --- Tokens --------------------------------------------------------------------------

  static class Options {
    String form = "der";
    boolean protection = false;  // the attribute CMSAlgorithmProtection, which is there by default
    boolean certificate = true;
    boolean reply = false;
    byte[] named;  // an attribute certificate that the signing-certificate attribute names second
    byte[] carried;  // in the certificates of the token
    byte[] attribute;  // in the signer-attributes attribute
  }

  static ASN1Encodable signingCertificate(boolean v2, byte[] first, byte[] second) throws Exception {
    if (v2) {
      return new SigningCertificateV2(new ESSCertIDv2[] {
          new ESSCertIDv2(digest("SHA-256", first)),
          new ESSCertIDv2(
              new AlgorithmIdentifier(NISTObjectIdentifiers.id_sha512), digest("SHA-512", second))});
    }
    return SigningCertificate.getInstance(sequence(sequence(
        new ESSCertID(digest("SHA-1", first)), new ESSCertID(digest("SHA-1", second)))));
  }

  static TimeStampTokenGenerator generator(Authority authority, String digest, boolean v2, Options options)
      throws Exception {
    byte[] own = authority.certificate.getEncoded();
    CMSAttributeTableGenerator standard = new DefaultSignedAttributeTableGenerator();
    CMSAttributeTableGenerator attributes = parameters -> {
      AttributeTable table = standard.getAttributes(parameters);
      if (!options.protection) table = table.remove(CMSAttributes.cmsAlgorithmProtect);
      try {
        if (options.named != null) {
          table = table.add(v2 ? PKCSObjectIdentifiers.id_aa_signingCertificateV2
                               : PKCSObjectIdentifiers.id_aa_signingCertificate,
              signingCertificate(v2, own, options.named));
        }
        if (options.attribute != null) {
          table = table.add(PKCSObjectIdentifiers.id_aa_ets_signerAttr,
              new SignerAttribute(AttributeCertificate.getInstance(options.attribute)));
        }
      } catch (Exception e) {
        throw new IllegalStateException(e);
      }
      return table;
    };
    DigestCalculator calculator = new JcaDigestCalculatorProviderBuilder().setProvider("BC").build().get(
        new AlgorithmIdentifier(v2 ? NISTObjectIdentifiers.id_sha256 : OIWObjectIdentifiers.idSHA1));
    TimeStampTokenGenerator generator = new TimeStampTokenGenerator(
        new JcaSimpleSignerInfoGeneratorBuilder().setProvider("BC").setSignedAttributeGenerator(attributes)
            .build(digest + "with" + authority.algorithm, authority.pair.getPrivate(),
                new JcaX509CertificateConverter().getCertificate(authority.certificate)),
        calculator, POLICY, true);
    generator.setAccuracySeconds(1);
    generator.setAccuracyMillis(500);
    generator.setAccuracyMicros(100);
    generator.setOrdering(true);
    generator.setTSA(new GeneralName(authority.certificate.getSubject()));
    generator.addCertificates(new CollectionStore<>(List.of(authority.certificate)));
    if (options.carried != null) {
      generator.addAttributeCertificates(
          new CollectionStore<>(List.of(new X509AttributeCertificateHolder(options.carried))));
    }
    return generator;
  }

  static TimeStampRequest request(ASN1ObjectIdentifier hash, String digest, boolean certificate)
      throws Exception {
    TimeStampRequestGenerator generator = new TimeStampRequestGenerator();
    generator.setCertReq(certificate);
    if (certificate) generator.setReqPolicy(POLICY);
    return generator.generate(hash, digest(digest, DOCUMENT), new BigInteger(63, RANDOM).setBit(62));
  }

  // Every length that BC leaves open, and the TSTInfo in runs of 64 octets.
  static ContentInfo openLengths(ContentInfo token) {
    SignedData data = SignedData.getInstance(token.getContent());
    byte[] info = ASN1OctetString.getInstance(data.getEncapContentInfo().getContent()).getOctets();
    ContentInfo content =
        new ContentInfo(data.getEncapContentInfo().getContentType(), new BEROctetString(info, 64));
    return new ContentInfo(token.getContentType(), new SignedData(data.getDigestAlgorithms(), content,
        new BERSet(data.getCertificates().toArray()), null, new BERSet(data.getSignerInfos().toArray())));
  }

  static void token(String suffix, String key, String digest, boolean v2, Options options) throws Exception {
    Authority authority = authorities.get(key);
    TimeStampRequest request = request(TSPAlgorithms.SHA256, "SHA-256", options.certificate);
    TimeStampTokenGenerator generator = generator(authority, digest, v2, options);
    serial = serial.add(BigInteger.ONE);
    TimeStampResponse response = new TimeStampResponseGenerator(generator, TSPAlgorithms.ALLOWED)
        .generate(request, serial, new Date());
    response.validate(request);
    TimeStampToken token = response.getTimeStampToken();
    token.validate(new JcaSimpleSignerInfoVerifierBuilder().setProvider("BC").build(authority.certificate));

    String name = key + "_" + digest.toLowerCase() + (v2 ? "_v2" : "_v1") + suffix;
    String file = "token_" + name + "." + options.form;
    boolean ber = options.form.equals("ber");
    ContentInfo whole = token.toCMSSignedData().toASN1Structure();
    if (ber) whole = openLengths(whole);
    write("token_" + name + ".der", whole.getEncoded("DER"));
    if (ber) write(file, whole.getEncoded("BER"));
    if (options.reply) {
      ASN1Encodable status = ASN1Sequence.getInstance(response.getEncoded()).getObjectAt(0);
      write("request_" + name + ".der", request.getEncoded());
      write("reply_" + name + "." + options.form,
          ber ? new BERSequence(new ASN1Encodable[] {status, whole}).getEncoded("BER")
              : der(response.getEncoded()));
    }
    TimeStampTokenInfo info = token.getTimeStampInfo();
    SimpleDateFormat utc = new SimpleDateFormat("yyyyMMddHHmmss");
    utc.setTimeZone(TimeZone.getTimeZone("UTC"));
    record("Kind", "token", "Name", file, "Key", key, "Digest", digest, "Version", v2 ? "2" : "1",
        "Protection", options.protection ? "yes" : "no", "Certificate", options.certificate ? "yes" : "no",
        "Reply", options.reply ? name : "none", "Tac", tacOf(options),
        "Policy", info.getPolicy().getId(), "Imprint", Hex.toHexString(info.getMessageImprintDigest()),
        "Serial", Hex.toHexString(info.getSerialNumber().toByteArray()),
        "Time", utc.format(info.getGenTime()),
        "Nonce", Hex.toHexString(info.getNonce().toByteArray()));
  }

  static String tacOf(Options options) {
    if (options.attribute != null) return "signer";
    if (options.carried == null) return "none";
    return options.named != null ? "named" : "unnamed";
  }

  static void rejection() throws Exception {
    Authority authority = authorities.get("rsa2048");
    write("reply_rejected.der", der(new TimeStampResponseGenerator(
        generator(authority, "SHA256", false, new Options()), TSPAlgorithms.ALLOWED)
        .generateFailResponse(2, PKIFailureInfo.badDataFormat, "the data has the wrong form").getEncoded()));
  }

  static Options options(Consumer<Options> set) {
    Options made = new Options();
    set.accept(made);
    return made;
  }

  // --- What there is -------------------------------------------------------------------

  static void tokens() throws Exception {
    String[][] pairs = {{"rsa2048", "SHA256"}, {"rsa2048", "SHA1"}, {"dsa1024_160", "SHA1"},
        {"dsa1024_160", "SHA256"}, {"dsa2048_224", "SHA1"}, {"dsa2048_224", "SHA256"},
        {"dsa2048_256", "SHA1"}, {"dsa2048_256", "SHA256"}};
    for (String[] pair : pairs) {
      boolean sha256 = pair[1].equals("SHA256");
      for (boolean v2 : new boolean[] {false, true}) {
        token("", pair[0], pair[1], v2, options(o -> o.reply = sha256 != v2));
      }
      token("_default", pair[0], pair[1], sha256, options(o -> o.protection = true));
    }
    for (String key : new String[] {"rsa2048", "dsa1024_160"}) {
      for (boolean v2 : new boolean[] {false, true}) {
        token("_ber", key, "SHA256", v2, options(o -> {
          o.form = "ber";
          o.reply = true;
        }));
      }
    }
    token("_default_ber", "rsa2048", "SHA256", false, options(o -> {
      o.form = "ber";
      o.protection = true;
    }));
    token("_bare", "rsa2048", "SHA256", false, options(o -> {
      o.certificate = false;
      o.reply = true;
    }));
    token("_bare", "rsa2048", "SHA256", true, options(o -> o.certificate = false));
  }

  static void attributeCertificates() throws Exception {
    Authority rsa = authorities.get("rsa2048");
    Authority dsa = authorities.get("dsa1024_160");
    byte[] der = rsa.certificate.getEncoded();
    byte[] full = fullAttributeCertificate("full", rsa, "SHA256", new BigInteger("f0e1d2c3b4a59687", 16));
    fullAttributeCertificate("full_dsa", dsa, "SHA1", BigInteger.valueOf(5));
    attributeCertificate("name", rsa, "SHA256", BigInteger.valueOf(127),
        new AttributeCertificateHolder(rsa.certificate.getSubject()), "name");
    byte[] digested = attributeCertificate("digest", rsa, "SHA1", new BigInteger(152, RANDOM).setBit(151),
        new AttributeCertificateHolder(ObjectDigestInfo.publicKeyCert,
            NISTObjectIdentifiers.id_sha256, null, digest("SHA-256", der)), "digest");
    attributeCertificate("base", rsa, "SHA256", BigInteger.valueOf(128),
        new AttributeCertificateHolder(rsa.certificate), "base");
    X509v2AttributeCertificateBuilder role = new X509v2AttributeCertificateBuilder(
        new AttributeCertificateHolder(rsa.certificate.getSubject()),
        new AttributeCertificateIssuer(rsa.certificate.getSubject()), BigInteger.TEN, FROM, UNTIL);
    role.addAttribute(ROLE, sequence(new DERTaggedObject(true, 1,
        new GeneralName(GeneralName.uniformResourceIdentifier, "urn:role"))));
    attributeCertificate("role", role.build(signer(rsa, "SHA256")), rsa, "role");

    for (boolean v2 : new boolean[] {false, true}) {
      token("_tac", "rsa2048", "SHA256", v2, options(o -> {
        o.named = full;
        o.carried = full;
      }));
      token("_tac_ber", "rsa2048", "SHA256", v2, options(o -> {
        o.form = "ber";
        o.named = full;
        o.carried = full;
      }));
    }
    token("_unnamed_tac", "rsa2048", "SHA256", false, options(o -> o.carried = digested));
    token("_signer_tac", "rsa2048", "SHA256", false, options(o -> o.attribute = full));
  }

  public static void main(String[] arguments) throws Exception {
    BouncyCastleProvider provider = new BouncyCastleProvider();
    Security.addProvider(provider);
    list = new PrintStream("samples.txt", StandardCharsets.US_ASCII);
    list.println("# Law: each file of this folder is what " + provider.getInfo() + " under Java "
        + System.getProperty("java.version"));
    list.println("# wrote, who also verified it; the words of its record are what was put into it.");
    list.println("# Key: dsaP_Q has a p of P and a q of Q bits. Version: of signing-certificate.");
    list.println("# Protection: with the attribute CMSAlgorithmProtection, 1.2.840.113549.1.9.52, or not.");
    list.println("# Tac: an attribute certificate among the certificates, named by that attribute or not,");
    list.println("# or in the signer's attributes. Made by make.sh (Samples.java). Keys were thrown away.");
    authority("rsa2048", "RSA", null, 2048);
    authority("dsa1024_160", "DSA", new DSAGenParameterSpec(1024, 160), 0);
    authority("dsa2048_224", "DSA", new DSAGenParameterSpec(2048, 224), 0);
    authority("dsa2048_256", "DSA", new DSAGenParameterSpec(2048, 256), 0);
    write("request_sha1_bare.der", request(TSPAlgorithms.SHA1, "SHA-1", false).getEncoded());
    write("request_sha512_cert.der", request(TSPAlgorithms.SHA512, "SHA-512", true).getEncoded());
    tokens();
    attributeCertificates();
    rejection();
    list.close();
  }
}
