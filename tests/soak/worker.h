#pragma once

#include <brindlemoss/component.h>

#include <array>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "soak/ledger.h"
#include "soak/mail_pool.h"
#include "soak/town.h"

namespace soak {

// An address to which each worker adds steps of trust.
inline constexpr char16_t shared_address[] = u"all@trusted.example";

// The work of one thread: calls of all kinds, picked by chance. Whatever comes out is compared with
// what may come out, and what was acknowledged is written into the ledger.
class worker {
public:
    // All must outlive it.
    worker(int number, const std::vector<pooled_mail>& mails, const town& servers, ledger& book);

    // One operation.
    void work();

    // Each kind of operation once, and each mail.
    void work_through();

    // Whether the lists hold what was acknowledged.
    void check_lists();

private:
    struct operation {
        int weight;
        void (worker::*run)();
    };
    static const std::vector<operation>& operations();

    enum class list { none, allowed, denied };
    static constexpr std::size_t own_addresses = 20;

    void rate() { rate(any_mail()); }
    void rate(const pooled_mail& mail);
    void rate_by_c();
    void vote();
    void change_rules();
    void look_up_rules();
    void trust();
    void forget_trust();
    void log_in();
    void use_account();
    void ask_community();
    void end_communication();
    void use_footer();
    void use_texts();
    void use_languages();
    void fetch();
    void use_plain_classes();
    void look_at_counters();

    std::size_t pick(std::size_t count);
    const pooled_mail& any_mail() { return mails_[pick(mails_.size())]; }
    std::u16string own_address(std::size_t index) const;
    void check_list(std::size_t index);
    void expect(bool is_so, const std::string& what) { book_.expect(is_so, what); }
    void expect_done(brindlemoss::component::status status, const std::string& what) {
        expect(status == brindlemoss::component::success, what + " fails");
    }

    const int number_;
    const std::vector<pooled_mail>& mails_;
    const town& servers_;
    ledger& book_;
    std::minstd_rand chance_;
    std::array<list, own_addresses> entries_{};  // where the last order put each
};

}  // namespace soak
