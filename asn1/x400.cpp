// Tables of the X.400 address types. The module has EXPLICIT tags; IMPLICIT ones are written.
#include "asn1/x400.h"

namespace qex {

constexpr Field kCountryNameAlternatives[] = {
    must(FIELD_AS(CountryName, x121DccCode, "x121-dcc-code"), kNumericString),
    must(FIELD_AS(CountryName, iso3166Alpha2Code, "iso-3166-alpha2-code"), kPrintableString),
};
constexpr TypeOf<CountryName> kCountryName = choice<CountryName>("CountryName", kCountryNameAlternatives);

constexpr Field kAdministrationDomainNameAlternatives[] = {
    must(FIELD(AdministrationDomainName, numeric), kNumericString),
    must(FIELD(AdministrationDomainName, printable), kPrintableString),
};
constexpr TypeOf<AdministrationDomainName> kAdministrationDomainName =
    choice<AdministrationDomainName>("AdministrationDomainName", kAdministrationDomainNameAlternatives);

constexpr Field kPrivateDomainNameAlternatives[] = {
    must(FIELD(PrivateDomainName, numeric), kNumericString),
    must(FIELD(PrivateDomainName, printable), kPrintableString),
};
constexpr TypeOf<PrivateDomainName> kPrivateDomainName =
    choice<PrivateDomainName>("PrivateDomainName", kPrivateDomainNameAlternatives);

constexpr Field kPersonalNameFields[] = {
    must(FIELD(PersonalName, surname), kPrintableString, implicit_tag(0)),
    may(FIELD_AS(PersonalName, givenName, "given-name"), kPrintableString, implicit_tag(1)),
    may(FIELD(PersonalName, initials), kPrintableString, implicit_tag(2)),
    may(FIELD_AS(PersonalName, generationQualifier, "generation-qualifier"), kPrintableString,
        implicit_tag(3)),
};
constexpr TypeOf<PersonalName> kPersonalName = set<PersonalName>("PersonalName", kPersonalNameFields);

constexpr TypeOf<AsnList> kOrganizationalUnitNames = sequence_of("OrganizationalUnitNames", kPrintableString);

constexpr Field kBuiltInStandardAttributesFields[] = {
    may(FIELD_AS(BuiltInStandardAttributes, countryName, "country-name"), kCountryName,
        explicit_application_tag(1)),
    may(FIELD_AS(BuiltInStandardAttributes, administrationDomainName, "administration-domain-name"),
        kAdministrationDomainName, explicit_application_tag(2)),
    may(FIELD_AS(BuiltInStandardAttributes, networkAddress, "network-address"), kNumericString,
        implicit_tag(0)),
    may(FIELD_AS(BuiltInStandardAttributes, terminalIdentifier, "terminal-identifier"), kPrintableString,
        implicit_tag(1)),
    may(FIELD_AS(BuiltInStandardAttributes, privateDomainName, "private-domain-name"), kPrivateDomainName,
        explicit_tag(2)),
    may(FIELD_AS(BuiltInStandardAttributes, organizationName, "organization-name"), kPrintableString,
        implicit_tag(3)),
    may(FIELD_AS(BuiltInStandardAttributes, numericUserIdentifier, "numeric-user-identifier"), kNumericString,
        implicit_tag(4)),
    may(FIELD_AS(BuiltInStandardAttributes, personalName, "personal-name"), kPersonalName, implicit_tag(5)),
    may(FIELD_AS(BuiltInStandardAttributes, organizationalUnitNames, "organizational-unit-names"),
        kOrganizationalUnitNames, implicit_tag(6)),
};
constexpr TypeOf<BuiltInStandardAttributes> kBuiltInStandardAttributes =
    sequence<BuiltInStandardAttributes>("BuiltInStandardAttributes", kBuiltInStandardAttributesFields);

constexpr Field kBuiltInDomainDefinedAttributeFields[] = {
    must(FIELD(BuiltInDomainDefinedAttribute, type), kPrintableString),
    must(FIELD(BuiltInDomainDefinedAttribute, value), kPrintableString),
};
constexpr TypeOf<BuiltInDomainDefinedAttribute> kBuiltInDomainDefinedAttribute =
    sequence<BuiltInDomainDefinedAttribute>("BuiltInDomainDefinedAttribute",
                                            kBuiltInDomainDefinedAttributeFields);
constexpr TypeOf<AsnList> kBuiltInDomainDefinedAttributes =
    sequence_of("BuiltInDomainDefinedAttributes", kBuiltInDomainDefinedAttribute);

constexpr Field kExtensionAttributeFields[] = {
    must(FIELD_AS(ExtensionAttribute, extensionAttributeType, "extension-attribute-type"), kAsnInt,
         implicit_tag(0)),
    defined_by(FIELD(ExtensionAttribute, extensionAttributeType),
               must(FIELD_AS(ExtensionAttribute, extensionAttributeValue, "extension-attribute-value"),
                    kAsnAny, explicit_tag(1))),
};
constexpr TypeOf<ExtensionAttribute> kExtensionAttribute =
    sequence<ExtensionAttribute>("ExtensionAttribute", kExtensionAttributeFields);
constexpr TypeOf<AsnList> kExtensionAttributes = set_of("ExtensionAttributes", kExtensionAttribute);

constexpr Field kORAddressFields[] = {
    must(FIELD_AS(ORAddress, builtInStandardAttributes, "built-in-standard-attributes"),
         kBuiltInStandardAttributes),
    may(FIELD_AS(ORAddress, builtInDomainDefinedAttributes, "built-in-domain-defined-attributes"),
        kBuiltInDomainDefinedAttributes),
    may(FIELD_AS(ORAddress, extensionAttributes, "extension-attributes"), kExtensionAttributes),
};
constexpr TypeOf<ORAddress> kORAddress = sequence<ORAddress>("ORAddress", kORAddressFields);

}  // namespace qex
