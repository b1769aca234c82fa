#include "component/class_row.h"

#include <type_traits>

#include "component/classes.h"
#include "component/method_table.h"

namespace brindlemoss::component {

namespace {

constexpr bound_method account_methods[] = {
    bound<&IAccount::Create>("Create", in("Name"), in("Password"), result()),
    bound<&IAccount::Login>("Login", result()),
    bound<&IAccount::Setting>("Setting", in("Identifier"), result()),
    bound<&IAccount::Configure>("Configure"),
    bound<&IAccount::LoginWithCache>("LoginWithCache", result()),
    bound<&IAccount::Update>("Update", result()),
};

constexpr bound_method antivirus_methods[] = {
    bound<&IAntiVirus::Version>("Version", out("Engine"), out("Definitions"), result()),
    bound<&IAntiVirus::Infected>("Infected", in("Buffer"), in_out("Object"), out("Infection"),
                                 result()),
    bound<&IAntiVirus::AssumeEncryptedInfected>("AssumeEncryptedInfected", in("State")),
};

constexpr bound_method coding_methods[] = {
    bound<&ICoding::Base64Encode>("Base64Encode", in("Text"), result()),
    bound<&ICoding::Base64Decode>("Base64Decode", in("Text"), result()),
    bound<&ICoding::Base16Encode>("Base16Encode", in("Text"), result()),
    bound<&ICoding::Base16Decode>("Base16Decode", in("Text"), result()),
};

constexpr bound_method communication_methods[] = {
    bound<&ICommunication::Reset>("Reset", result()),
    bound<&ICommunication::Failing>("Failing", result()),
    bound<&ICommunication::Roundtrip>("Roundtrip", result()),
    bound<&ICommunication::Score>("Score", in("Message"), result()),
    bound<&ICommunication::Vote>("Vote", in("Message"), in("Score"), result()),
    bound<&ICommunication::Ping>("Ping", result()),
    bound<&ICommunication::Offline>("Offline", result()),
    bound<&ICommunication::Shutdown>("Shutdown"),
};

constexpr bound_method digest_methods[] = {
    bound<&IDigest::MD5>("MD5", in("Text"), result()),
};

constexpr bound_method filter_methods[] = {
    bound<&IFilter::Score>("Score", in("Message"), in("Orphan"), result()),
    bound<&IFilter::Vote>("Vote", in("Message"), in("Score"), result()),
    bound<&IFilter::Signature>("Signature", in("Message"), result()),
    bound<&IFilter::UnicodeToUTF8>("UnicodeToUTF8", in("Text"), result()),
    bound<&IFilter::SignatureFromPart>("SignatureFromPart", in("ContentType"), in("Text"),
                                       result()),
    bound<&IFilter::MergeHeader>("MergeHeader", in("Message"), in("Header"), result()),
};

constexpr bound_method footer_methods[] = {
    bound<&IFooter::Insert>("Insert", in_out("Serialized"), result()),
    bound<&IFooter::GetFooter>("GetFooter", in("ContentType"), out("Footer"), result("Insert")),
};

constexpr bound_method http_methods[] = {
    bound<&IHTTP::Get>("Get", in("URI"), out("Document"), result()),
    bound<&IHTTP::Status>("Status", in("URI"), result()),
    bound<&IHTTP::Post>("Post", in("URI"), in("PostData"), out("Document"), result()),
};

constexpr bound_method language_recognition_methods[] = {
    bound<&ILanguageRecognition::Classify>("Classify", in("Message"), result()),
    bound<&ILanguageRecognition::Accept>("Accept", in("Message"), result()),
};

constexpr bound_method localization_methods[] = {
    bound<&ILocalization::Reload>("Reload"),
    bound<&ILocalization::GetString>("GetString", in("Group"), in("Item"), result()),
    bound<&ILocalization::SetLanguage>("SetLanguage", in("ISO")),
    bound<&ILocalization::GetLanguages>("GetLanguages", result()),
};

constexpr bound_method rules_methods[] = {
    bound<&IRules::Allowed>("Allowed", in("Address"), result()),
    bound<&IRules::AllowAddress>("AllowAddress", in("Address"), result()),
    bound<&IRules::AllowDomain>("AllowDomain", in("Domain"), result()),
    bound<&IRules::Denied>("Denied", in("Address"), result()),
    bound<&IRules::DenyAddress>("DenyAddress", in("Address"), result()),
    bound<&IRules::DenyDomain>("DenyDomain", in("Domain"), result()),
    bound<&IRules::IncreaseTrust>("IncreaseTrust", in("Address")),
    bound<&IRules::RemoveTrust>("RemoveTrust", in("Address")),
    bound<&IRules::Silent>("Silent", in("Value")),
};

constexpr bound_method sender_rules_methods[] = {
    bound<&sender_rules::Match>("Match", in("Address"), result()),
    bound<&sender_rules::AddAddress>("AddAddress", in("Name"), in("Address"), in("Comment")),
    bound<&sender_rules::AddDomain>("AddDomain", in("Domain"), in("Comment")),
    bound<&sender_rules::RemoveAddress>("RemoveAddress", in("Address")),
    bound<&sender_rules::RemoveDomain>("RemoveDomain", in("Domain")),
    bound<&sender_rules::EnumerateAddresses>("EnumerateAddresses", result()),
    bound<&sender_rules::EnumerateDomains>("EnumerateDomains", result()),
    bound<&sender_rules::Silent>("Silent", in("Mode")),
    bound<&sender_rules::EmptyAddresses>("EmptyAddresses"),
    bound<&sender_rules::EmptyDomains>("EmptyDomains"),
    bound<&sender_rules::WriteAddresses>("WriteAddresses", in("Addresses")),
    bound<&sender_rules::WriteDomains>("WriteDomains", in("Domains")),
};

constexpr bound_method trusted_senders_methods[] = {
    bound<&IRulesSenderTrusted::Match>("Match", in("Address"), result()),
    bound<&IRulesSenderTrusted::AddAddress>("AddAddress", in("Name"), in("Address")),
    bound<&IRulesSenderTrusted::RemoveAddress>("RemoveAddress", in("Address")),
    bound<&IRulesSenderTrusted::EnumerateAddresses>("EnumerateAddresses", result()),
};

constexpr bound_method version_methods[] = {
    bound<&IVersion::Partner>("Partner", result()),
    bound<&IVersion::Current>("Current", result()),
    bound<&IVersion::Available>("Available", result()),
    bound<&IVersion::Path>("Path", result()),
    bound<&IVersion::Upgrade>("Upgrade"),
    bound<&IVersion::Remove>("Remove"),
};

constexpr bound_method xml_methods[] = {
    bound<&IXML::Parse>("Parse", in("Document")),
    bound<&IXML::Setting>("Setting", in("Name"), result()),
};

// Keeps what the outside sees of a table.
template <const auto& table>
constexpr auto seen = described(table);

// A class with the interface, whose names are written there.
template <typename interface_type, const auto& table>
constexpr class_row row(const char* name, const char* friendly_name, guid_text class_id,
                        guid_text interface_id, bool safe_for_scripting,
                        std::unique_ptr<object> (*make)(const class_row&)) {
    class_row made{};
    made.description.name = name;
    made.description.prog_id = interface_type::prog_id.data();
    made.description.friendly_name = friendly_name;
    made.description.class_id = class_id;
    made.description.interface_name = interface_type::name.data();
    made.description.interface_id = interface_id;
    made.description.safe_for_scripting = safe_for_scripting;
    made.description.shared_between_threads = !std::is_same_v<interface_type, ICoding>;
    made.description.methods = seen<table>;
    made.methods = table;
    made.make = make;
    return made;
}

constexpr class_row rows[] = {
    row<IAccount, account_methods>("account", "Account Class",
                                   "{2EDC65FD-E401-47A3-95D2-397192A02A7B}",
                                   "{2FF47187-9B4C-4F2A-9095-152A9D36E460}", true, make_account),
    row<IAntiVirus, antivirus_methods>(
        "antivirus", "AntiVirus Class", "{8E88EBD3-D0B2-46FE-96A3-BBD9DB8BD435}",
        "{E2561605-BB6E-46CF-952A-E16893DAE4F5}", true, make_antivirus),
    row<ICoding, coding_methods>("CCoding", "CCoding Class",
                                 "{6958FA1C-E866-4A08-9A40-477FEAB3A4AD}",
                                 "{34C95FA2-F70C-41F8-87FB-61B928E5C7C3}", false, make_coding),
    row<ICommunication, communication_methods>(
        "communication", "Communication Class", "{38011B0C-B003-409F-AA5F-E16E2AEDD5C3}",
        "{ADEC166B-B934-4949-917D-5CC5E593E3FE}", true, make_communication),
    row<IDigest, digest_methods>("digest", "Digest Class", "{8A6528E7-3157-4E0F-8E0D-505E418C9B0A}",
                                 "{50929548-50BC-467E-8220-E55768D06565}", true, make_digest),
    row<IFilter, filter_methods>("filter", "Filter Class", "{5E9B71BA-8114-44F2-8F15-61998BD5E781}",
                                 "{B657C18C-BFD5-48FF-9E06-60FE0BC550A9}", true, make_filter),
    row<IFooter, footer_methods>("footer", "Footer Class", "{ADC36072-54B4-4E09-8E03-424EB2C88F58}",
                                 "{14852AD3-D369-499A-8CCB-24E0D2091427}", false, make_footer),
    row<IHTTP, http_methods>("http", "HTTP Class", "{66F4DF9F-EC34-4F08-A1D5-A27C3D57FEB8}",
                             "{3B74B44A-2073-4155-97F4-CA66F9479DE9}", true, make_http),
    row<ILanguageRecognition, language_recognition_methods>(
        "language_recognition", "LanguageRecognition Class",
        "{9180299F-F7D9-43DC-85D2-6AC1CA007F2E}", "{5C437162-C24B-4140-98B1-AB5F2BCE2E9D}", false,
        make_language_recognition),
    row<ILocalization, localization_methods>(
        "localization", "Localization Class", "{69A35984-BA98-47D4-94EB-185E27FBB980}",
        "{5E43FEDF-D226-497B-B9E5-8B28E4A257CC}", false, make_localization),
    row<IRules, rules_methods>("rules", "Rules Class", "{3B67AE25-D55A-4CE8-AD1A-6F6D7EB3ECBD}",
                               "{9F40B447-C502-4631-ADD8-199F7DE5BBAC}", true, make_rules),
    row<IRulesSenderAllowed, sender_rules_methods>(
        "rules_sender_allowed", "RulesSenderAllowed Class",
        "{B97DD4C0-13F9-4DBB-AEA6-DF687077D432}", "{0FA02A0A-C7CE-4B9F-A04C-7195580F94F5}", false,
        make_rules_sender_allowed),
    row<IRulesSenderDenied, sender_rules_methods>(
        "rules_sender_denied", "RulesSenderDenied Class", "{B7455745-A3F7-4B8E-8A30-99E925B4A217}",
        "{78571C1C-71DD-4821-A89A-1283F9FD6D3A}", false, make_rules_sender_denied),
    row<IRulesSenderTrusted, trusted_senders_methods>(
        "rules_sender_trusted", "RulesSenderTrusted Class",
        "{8C1591C8-213F-4797-8D41-9C1CBC65AFAD}", "{492585E8-40C9-41EF-9C63-373B2940A969}", false,
        make_rules_sender_trusted),
    row<IVersion, version_methods>("version", "Version Class",
                                   "{960D33FD-7229-41B1-9F8F-AA3BE293CAF7}",
                                   "{BD183217-6BFB-4A98-9E30-45D86F44D6C3}", true, make_version),
    row<IXML, xml_methods>("XML", "XML Class", "{7089C361-17F4-41C8-B2CE-43C2FC1D3961}",
                           "{C3367A51-9EC6-4FC0-A7AE-7DF0D7376E95}", true, make_xml),
};

}  // namespace

std::span<const class_row> class_rows() noexcept {
    return rows;
}

}  // namespace brindlemoss::component
