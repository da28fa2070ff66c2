// Tables of the X.520 attribute syntaxes.
#include "asn1/x520.h"

namespace qex {

constexpr TypeOf<AsnOcts> kPrintableString1 = named("PrintableString1", kPrintableString);
constexpr TypeOf<AsnOcts> kX520InternationalISDNNumber = named("X520InternationalISDNNumber", kNumericString);
constexpr TypeOf<AsnOcts> kX121Address = named("X121Address", kNumericString);
constexpr TypeOf<AsnOcts> kDomainComponent = named("DomainComponent", kIA5String);
constexpr TypeOf<AsnOcts> kPkcs9email = named("Pkcs9email", kIA5String);
constexpr TypeOf<AsnList> kX520PreferredDeliveryMethod =
    sequence_of("X520PreferredDeliveryMethod", kAsnInt, Top::Yes);
constexpr TypeOf<AsnList> kX520PostalAddress = sequence_of("X520PostalAddress", kDirectoryString, Top::Yes);

constexpr Field kX520TelexNumberFields[] = {
    must(FIELD(X520TelexNumber, telexNumber), kPrintableString),
    must(FIELD(X520TelexNumber, countryCode), kPrintableString),
    must(FIELD(X520TelexNumber, answerback), kPrintableString),
};
constexpr TypeOf<X520TelexNumber> kX520TelexNumber =
    sequence<X520TelexNumber>("X520TelexNumber", kX520TelexNumberFields, Top::Yes);

constexpr Field kX520FacsimileTelephoneNumberFields[] = {
    must(FIELD(X520FacsimileTelephoneNumber, telephoneNumber), kPrintableString),
    may(FIELD(X520FacsimileTelephoneNumber, parameters), kAsnBits),
};
constexpr TypeOf<X520FacsimileTelephoneNumber> kX520FacsimileTelephoneNumber =
    sequence<X520FacsimileTelephoneNumber>("X520FacsimileTelephoneNumber",
                                           kX520FacsimileTelephoneNumberFields, Top::Yes);

constexpr TypeOf<AsnList> kNetworkAddresses = set_of("NetworkAddresses", kAsnOcts);
constexpr Field kX520PresentationAddressFields[] = {
    may(FIELD(X520PresentationAddress, pSelector), kAsnOcts, explicit_tag(0)),
    may(FIELD(X520PresentationAddress, sSelector), kAsnOcts, explicit_tag(1)),
    may(FIELD(X520PresentationAddress, tSelector), kAsnOcts, explicit_tag(2)),
    must(FIELD(X520PresentationAddress, nAddresses), kNetworkAddresses, explicit_tag(3)),
};
constexpr TypeOf<X520PresentationAddress> kX520PresentationAddress =
    sequence<X520PresentationAddress>("X520PresentationAddress", kX520PresentationAddressFields, Top::Yes);

constexpr TypeOf<AsnList> kProtocolProfiles = set_of("ProtocolProfiles", kAsnOid);
constexpr Field kX520ProtocolInformationFields[] = {
    must(FIELD(X520ProtocolInformation, nAddress), kAsnOcts),
    must(FIELD(X520ProtocolInformation, profiles), kProtocolProfiles),
};
constexpr TypeOf<X520ProtocolInformation> kX520ProtocolInformation =
    sequence<X520ProtocolInformation>("X520ProtocolInformation", kX520ProtocolInformationFields, Top::Yes);

constexpr Field kX520UniqueMemberFields[] = {
    must(FIELD(X520UniqueMember, dn), kDistinguishedName),
    may(FIELD(X520UniqueMember, uid), kAsnBits),
};
constexpr TypeOf<X520UniqueMember> kX520UniqueMember =
    sequence<X520UniqueMember>("X520UniqueMember", kX520UniqueMemberFields, Top::Yes);

}  // namespace qex
