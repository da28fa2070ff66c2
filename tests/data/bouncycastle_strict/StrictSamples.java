// Makes time-stamp tokens with Bouncy Castle as it makes them by default, and under keys, digests, names and
// attributes that newer authorities use, in the current folder, and writes samples.txt: one record for each.
// Keys are made for the occasion and thrown away. Run by make.sh.

import java.io.PrintStream;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.security.*;
import java.security.spec.ECGenParameterSpec;
import java.util.*;
import java.util.function.Consumer;
import org.bouncycastle.asn1.*;
import org.bouncycastle.asn1.cms.*;
import org.bouncycastle.asn1.cms.Attribute;
import org.bouncycastle.asn1.esf.*;
import org.bouncycastle.asn1.nist.NISTObjectIdentifiers;
import org.bouncycastle.asn1.ocsp.OCSPObjectIdentifiers;
import org.bouncycastle.asn1.pkcs.PKCSObjectIdentifiers;
import org.bouncycastle.asn1.x500.X500Name;
import org.bouncycastle.asn1.x500.style.BCStyle;
import org.bouncycastle.asn1.x509.*;
import org.bouncycastle.cert.*;
import org.bouncycastle.cert.jcajce.*;
import org.bouncycastle.cert.ocsp.*;
import org.bouncycastle.cms.*;
import org.bouncycastle.cms.jcajce.*;
import org.bouncycastle.jce.provider.BouncyCastleProvider;
import org.bouncycastle.operator.*;
import org.bouncycastle.operator.jcajce.*;
import org.bouncycastle.tsp.*;
import org.bouncycastle.util.CollectionStore;
import org.bouncycastle.util.encoders.Hex;

public class StrictSamples {
  static final ASN1ObjectIdentifier POLICY = new ASN1ObjectIdentifier("1.3.6.1.4.1.32473.1");
  static final Date FROM = new Date(1704067200000L);  // 2024-01-01 00:00:00 UTC
  static final Date UNTIL = new Date(2335219200000L);  // 2044-01-01
  static final Date TIME = new Date(1748779200000L);  // 2025-06-01 12:00:00, of every token
  static final byte[] DOCUMENT = "the data to be stamped\n".getBytes(StandardCharsets.UTF_8);
  static final SecureRandom RANDOM = new SecureRandom();

  // What the library has no type for, in the order in which a token holds them.
  static final String ORGANIZATION_IDENTIFIER = "2.5.4.97";
  static final String DOMAIN_COMPONENT = "0.9.2342.19200300.100.1.25";
  static final String EC_KEY = "1.2.840.10045.2.1";
  static final String ED25519 = "1.3.101.112";
  static final String PSS = "1.2.840.113549.1.1.10";
  static final String PROTECTION = "1.2.840.113549.1.9.52";
  static final String OCSP_RESPONSE = "1.3.6.1.5.5.7.16.2";
  static final String SHA224 = "2.16.840.1.101.3.4.2.4";
  static final String SHA3_256 = "2.16.840.1.101.3.4.2.8";

  static class Authority {
    String name;
    KeyPair pair;
    X509CertificateHolder certificate;
    Authority issuer;
  }

  static class Options {
    boolean protection = true;  // the attribute CMSAlgorithmProtection, as by default
    ASN1ObjectIdentifier imprint = NISTObjectIdentifiers.id_sha256;
    Attribute unsigned;
    boolean ocsp = false;
    boolean crl = false;
  }

  static PrintStream list;
  static BigInteger serial = new BigInteger("0102030405060708090a0b0c0d0e0f80", 16);

  static String digestName(ASN1ObjectIdentifier algorithm) {
    return algorithm.getId().equals(SHA3_256) ? "SHA3-256" : "SHA-256";
  }

  static void record(String... words) {
    list.println();
    for (int i = 0; i < words.length; i += 2) list.println(words[i] + " = " + words[i + 1]);
  }

  // --- Keys and certificates -----------------------------------------------------------

  static KeyPair keys(String kind) throws Exception {
    KeyPairGenerator generator;
    if (kind.startsWith("P-")) {
      generator = KeyPairGenerator.getInstance("EC", "BC");
      generator.initialize(new ECGenParameterSpec(kind), RANDOM);
    } else if (kind.equals("Ed25519")) {
      generator = KeyPairGenerator.getInstance("Ed25519", "BC");
    } else {
      generator = KeyPairGenerator.getInstance("RSA", "BC");
      generator.initialize(2048, RANDOM);
    }
    return generator.generateKeyPair();
  }

  static String usual(KeyPair pair) {
    return pair.getPrivate().getAlgorithm().startsWith("EC") ? "SHA256withECDSA" : "SHA256withRSA";
  }

  static ContentSigner signer(KeyPair pair, String algorithm) throws Exception {
    return new JcaContentSignerBuilder(algorithm).setProvider("BC").build(pair.getPrivate());
  }

  static Authority authority(String name, String kind, String subject, Authority issuer) throws Exception {
    Authority made = new Authority();
    made.name = name;
    made.pair = keys(kind);
    made.issuer = issuer == null ? made : issuer;
    // One made from the text has UTF8String and, for domainComponent, IA5String.
    X500Name holder = new X500Name(subject);
    X500Name above = issuer == null ? holder : issuer.certificate.getSubject();
    X509v3CertificateBuilder builder = new JcaX509v3CertificateBuilder(
        above, new BigInteger(120, RANDOM), FROM, UNTIL, holder, made.pair.getPublic());
    JcaX509ExtensionUtils identifiers = new JcaX509ExtensionUtils();
    builder.addExtension(Extension.basicConstraints, true, new BasicConstraints(issuer == null));
    builder.addExtension(Extension.keyUsage, true, new KeyUsage(
        issuer == null ? KeyUsage.keyCertSign | KeyUsage.cRLSign : KeyUsage.digitalSignature));
    builder.addExtension(Extension.subjectKeyIdentifier, false,
        identifiers.createSubjectKeyIdentifier(made.pair.getPublic()));
    if (issuer != null) {
      builder.addExtension(Extension.extendedKeyUsage, true, new ExtendedKeyUsage(KeyPurposeId.id_kp_timeStamping));
      builder.addExtension(Extension.authorityKeyIdentifier, false,
          identifiers.createAuthorityKeyIdentifier(issuer.pair.getPublic()));
    }
    made.certificate = builder.build(signer(made.issuer.pair, usual(made.issuer.pair)));
    Files.write(Path.of((issuer == null ? "root_" : "certificate_") + name + ".der"), made.certificate.getEncoded());
    return made;
  }

  // --- What goes with a token ----------------------------------------------------------

  static X509CRLHolder revocationList(Authority issuer) throws Exception {
    X509v2CRLBuilder builder = new X509v2CRLBuilder(issuer.certificate.getSubject(), TIME);
    builder.setNextUpdate(UNTIL);
    builder.addCRLEntry(BigInteger.valueOf(4711), TIME, CRLReason.superseded);
    return builder.build(signer(issuer.pair, usual(issuer.pair)));
  }

  static OCSPResp ocspResponse(Authority of) throws Exception {
    DigestCalculator sha1 = new JcaDigestCalculatorProviderBuilder().setProvider("BC").build()
        .get(CertificateID.HASH_SHA1);
    BasicOCSPRespBuilder builder = new BasicOCSPRespBuilder(new RespID(of.issuer.certificate.getSubject()));
    builder.addResponse(new CertificateID(sha1, of.issuer.certificate, of.certificate.getSerialNumber()),
        CertificateStatus.GOOD, TIME, UNTIL);
    BasicOCSPResp basic = builder.build(signer(of.issuer.pair, usual(of.issuer.pair)),
        new X509CertificateHolder[] {of.issuer.certificate}, TIME);
    return new OCSPRespBuilder().build(OCSPRespBuilder.SUCCESSFUL, basic);
  }

  static Attribute attribute(ASN1ObjectIdentifier type, ASN1Encodable value) {
    return new Attribute(type, new DERSet(value));
  }

  static ASN1Encodable otherHash(byte[] of) throws Exception {
    return new DERSequence(new ASN1Encodable[] {new AlgorithmIdentifier(NISTObjectIdentifiers.id_sha256),
        new DEROctetString(MessageDigest.getInstance("SHA-256").digest(of))});
  }

  // The four attributes of CAdES that keep what a later check needs, RFC 5126 6.2 and 6.3.
  static Attribute archive(ASN1ObjectIdentifier type, Authority of) throws Exception {
    X509CRLHolder crl = revocationList(of.issuer);
    ASN1Encodable value;
    if (type.equals(PKCSObjectIdentifiers.id_aa_ets_certValues)) {
      value = new DERSequence(of.issuer.certificate.toASN1Structure());
    } else if (type.equals(PKCSObjectIdentifiers.id_aa_ets_revocationValues)) {
      value = new RevocationValues(new CertificateList[] {crl.toASN1Structure()}, null, null);
    } else if (type.equals(PKCSObjectIdentifiers.id_aa_ets_certificateRefs)) {
      value = new DERSequence(new DERSequence(otherHash(of.issuer.certificate.getEncoded())));
    } else {
      value = new DERSequence(new DERSequence(new DERTaggedObject(true, 0,
          new DERSequence(new DERSequence(new DERSequence(otherHash(crl.getEncoded())))))));
    }
    return attribute(type, value);
  }

  // --- Tokens --------------------------------------------------------------------------

  static TimeStampToken generate(Authority authority, String algorithm, Options options) throws Exception {
    CMSAttributeTableGenerator standard = new DefaultSignedAttributeTableGenerator();
    CMSAttributeTableGenerator chosen = parameters -> {
      AttributeTable table = standard.getAttributes(parameters);
      return options.protection ? table : table.remove(CMSAttributes.cmsAlgorithmProtect);
    };
    JcaSimpleSignerInfoGeneratorBuilder builder =
        new JcaSimpleSignerInfoGeneratorBuilder().setProvider("BC").setSignedAttributeGenerator(chosen);
    if (options.unsigned != null) {
      AttributeTable table = new AttributeTable(options.unsigned);
      builder.setUnsignedAttributeGenerator(parameters -> table);
    }
    DigestCalculator calculator = new JcaDigestCalculatorProviderBuilder().setProvider("BC").build()
        .get(new AlgorithmIdentifier(NISTObjectIdentifiers.id_sha256));
    TimeStampTokenGenerator generator = new TimeStampTokenGenerator(
        builder.build(algorithm, authority.pair.getPrivate(),
            new JcaX509CertificateConverter().getCertificate(authority.certificate)), calculator, POLICY, true);
    generator.setAccuracySeconds(1);
    generator.setTSA(new GeneralName(authority.certificate.getSubject()));
    generator.addCertificates(new CollectionStore<>(List.of(authority.certificate)));
    if (options.crl) generator.addCRLs(new CollectionStore<>(List.of(revocationList(authority.issuer))));
    if (options.ocsp) {
      generator.addOtherRevocationInfo(new ASN1ObjectIdentifier(OCSP_RESPONSE),
          new CollectionStore<>(List.of(ocspResponse(authority).toASN1Structure())));
    }
    TimeStampRequestGenerator request = new TimeStampRequestGenerator();
    request.setCertReq(true);
    serial = serial.add(BigInteger.ONE);
    byte[] digest = MessageDigest.getInstance(digestName(options.imprint), "BC").digest(DOCUMENT);
    BigInteger nonce = new BigInteger(63, RANDOM).setBit(62);
    return generator.generate(request.generate(options.imprint, digest, nonce), serial, TIME);
  }

  static boolean verifies(byte[] token, Authority authority) throws Exception {
    try {
      new TimeStampToken(new CMSSignedData(token)).validate(
          new JcaSimpleSignerInfoVerifierBuilder().setProvider("BC").build(authority.certificate));
      return true;
    } catch (TSPException | CMSException e) {
      return false;
    }
  }

  static void keep(String name, byte[] der, Authority authority, TimeStampToken token, String verdict,
      String stops, String says) throws Exception {
    if (verifies(der, authority) != verdict.equals("good")) throw new IllegalStateException(name);
    String file = "token_" + name + ".der";
    Files.write(Path.of(file), der);
    TimeStampTokenInfo info = token.getTimeStampInfo();
    record("Kind", "token", "Name", file, "Root", "root_" + authority.issuer.name + ".der",
        "Certificate", "certificate_" + authority.name + ".der",
        "Algorithm", digestName(info.getMessageImprintAlgOID()).replace("SHA-", "SHA").toLowerCase(),
        "Imprint", Hex.toHexString(info.getMessageImprintDigest()), "Verdict", verdict, "Stops", stops, "Says", says);
  }

  static byte[] token(String name, Authority authority, String algorithm, String stops, String says,
      Consumer<Options> set) throws Exception {
    Options options = new Options();
    set.accept(options);
    TimeStampToken token = generate(authority, algorithm, options);
    byte[] der = token.getEncoded("DER");
    keep(name, der, authority, token, "good", stops, says);
    damage(name, der, authority, token, stops);
    return der;
  }

  // Of some tokens a second one with a single bit changed: in genTime, in the signed attributes or in the signature.
  static void damage(String name, byte[] der, Authority authority, TimeStampToken token, String stops)
      throws Exception {
    if (!Set.of("default", "ec_p256", "ec_p384", "ed25519", "pss", "sha3_256").contains(name)) return;
    SignerInformation signer = token.toCMSSignedData().getSignerInfos().iterator().next();
    byte[] digest = ((ASN1OctetString) signer.getSignedAttributes().get(CMSAttributes.messageDigest)
        .getAttributeValues()[0]).getOctets();
    Map<String, byte[]> places = new LinkedHashMap<>();
    places.put("genTime", "20250601120000".getBytes(StandardCharsets.US_ASCII));
    places.put("message-digest", digest);
    places.put("signature", signer.getSignature());
    for (Map.Entry<String, byte[]> place : places.entrySet()) {
      byte[] changed = der.clone();
      int at = Collections.indexOfSubList(boxed(der), boxed(place.getValue()));
      changed[at + place.getValue().length - 1] ^= 1;
      keep("damaged_" + name + "_" + place.getKey(), changed, authority, token, "damaged", stops,
          "one bit of the " + place.getKey() + " changed");
    }
  }

  static List<Byte> boxed(byte[] octets) {
    List<Byte> made = new ArrayList<>();
    for (byte octet : octets) made.add(octet);
    return made;
  }

  // --- What there is -------------------------------------------------------------------

  static void keysAndDigests(Authority root) throws Exception {
    Authority rsa = authority("rsa2048", "RSA", "C=SE,O=Example Trust,CN=Example TSA", root);
    token("plain", rsa, "SHA256withRSA", "none", "nothing that is new", o -> o.protection = false);
    token("default", rsa, "SHA256withRSA", PROTECTION, "the default attributes", o -> {});
    token("pss", rsa, "SHA256withRSAandMGF1", PSS, "RSASSA-PSS", o -> o.protection = false);
    token("pss_default", rsa, "SHA512withRSAandMGF1", PROTECTION, "RSASSA-PSS, the default attributes", o -> {});
    token("sha224", rsa, "SHA224withRSA", SHA224 + " 1.2.840.113549.1.1.14", "SHA-224", o -> o.protection = false);
    token("sha3_256", rsa, "SHA3-256withRSA", SHA3_256 + " 2.16.840.1.101.3.4.3.14", "SHA3-256",
        o -> o.protection = false);
    token("sha3_256_imprint", rsa, "SHA256withRSA", "none", "an imprint by SHA3-256", o -> {
      o.protection = false;
      o.imprint = NISTObjectIdentifiers.id_sha3_256;
    });
    for (String curve : new String[] {"P-256", "P-384", "P-521"}) {
      String name = "ec_p" + curve.substring(2);
      String digest = curve.equals("P-521") ? "SHA512" : "SHA" + curve.substring(2);
      token(name, authority(name, curve, "C=SE,O=Example Trust,CN=Example TSA " + curve, root),
          digest + "withECDSA", EC_KEY, curve + ", the default attributes", o -> {});
    }
    token("ed25519", authority("ed25519", "Ed25519", "C=SE,O=Example Trust,CN=Example TSA Ed25519", root),
        "Ed25519", ED25519 + " " + PROTECTION, "Ed25519, the default attributes", o -> {});
    token("ed25519_plain", authority("ed25519_plain", "Ed25519", "C=SE,O=Example Trust,CN=Example TSA Ed25519", root),
        "Ed25519", ED25519, "Ed25519", o -> o.protection = false);
    Authority curves = authority("ec_p384", "P-384", "C=SE,O=Example Trust,CN=Example Root P-384", null);
    token("ec_chain", authority("ec_chain", "P-256", "C=SE,O=Example Trust,CN=Example TSA", curves),
        "SHA256withECDSA", EC_KEY + " 1.2.840.10045.4.3.2", "P-256 under a root of P-384", o -> {});
  }

  static void names(Authority root) throws Exception {
    token("organization_identifier", authority("organization_identifier", "RSA",
        "C=SE,O=Example Trust,organizationIdentifier=VATSE-556000000001,CN=Example TSA", root),
        "SHA256withRSA", ORGANIZATION_IDENTIFIER, "organizationIdentifier in the signer's name",
        o -> o.protection = false);
    token("domain_component", authority("domain_component", "RSA", "DC=org,DC=example,CN=Example TSA", root),
        "SHA256withRSA", DOMAIN_COMPONENT, "domainComponent in the signer's name", o -> o.protection = false);
    Authority named = authority("named", "RSA",
        "DC=org,DC=example,O=Example Trust,organizationIdentifier=VATSE-556000000001,CN=Example Root", null);
    token("issuer_name", authority("issuer_name", "RSA", "C=SE,O=Example Trust,CN=Example TSA", named),
        "SHA256withRSA", DOMAIN_COMPONENT + " " + ORGANIZATION_IDENTIFIER, "both in the issuer's name", o -> {});
  }

  static void carried(Authority root) throws Exception {
    Authority rsa = authority("carrying", "RSA", "C=SE,O=Example Trust,CN=Example TSA", root);
    Map<String, ASN1ObjectIdentifier> archives = new LinkedHashMap<>();
    archives.put("certificate_values", PKCSObjectIdentifiers.id_aa_ets_certValues);
    archives.put("revocation_values", PKCSObjectIdentifiers.id_aa_ets_revocationValues);
    archives.put("certificate_refs", PKCSObjectIdentifiers.id_aa_ets_certificateRefs);
    archives.put("revocation_refs", PKCSObjectIdentifiers.id_aa_ets_revocationRefs);
    for (Map.Entry<String, ASN1ObjectIdentifier> entry : archives.entrySet()) {
      Attribute archive = archive(entry.getValue(), rsa);
      token(entry.getKey(), rsa, "SHA256withRSA", entry.getValue().getId(),
          entry.getKey().replace('_', '-') + " among the unsigned attributes", o -> {
            o.protection = false;
            o.unsigned = archive;
          });
    }
    token("crl", rsa, "SHA256withRSA", "none", "a revocation list in crls", o -> {
      o.protection = false;
      o.crl = true;
    });
    token("ocsp", rsa, "SHA256withRSA", OCSP_RESPONSE, "an OCSP response in crls", o -> {
      o.protection = false;
      o.ocsp = true;
    });
    token("ocsp_crl_default", rsa, "SHA256withRSA", OCSP_RESPONSE + " " + PROTECTION,
        "both in crls, the default attributes", o -> {
          o.ocsp = true;
          o.crl = true;
        });
  }

  public static void main(String[] arguments) throws Exception {
    BouncyCastleProvider provider = new BouncyCastleProvider();
    Security.addProvider(provider);
    list = new PrintStream("samples.txt", StandardCharsets.US_ASCII);
    list.println("# Law: each token of this folder is what " + provider.getInfo() + " under Java "
        + System.getProperty("java.version"));
    list.println("# wrote; it also found the good ones good and the damaged ones damaged. Algorithm and Imprint are of");
    list.println("# the document, genTime is 2025-06-01 12:00:00 UTC. Stops: the identifiers that the library's table");
    list.println("# of open types does not have, in the order of the token; it stops at one of them.");
    list.println("# Made by make.sh (StrictSamples.java). Keys were thrown away.");
    Authority root = authority("rsa2048", "RSA", "C=SE,O=Example Trust,CN=Example Root", null);
    keysAndDigests(root);
    names(root);
    carried(root);
    list.close();
  }
}
