// Two links, each with tens of thousands of mixed requests, good ones and bad ones, while parts of the phone break and
// heal. Every answer is judged, and in the end the service is what it was at the start: the same process with as many
// descriptors, threads, children and as much memory.
//
// VX_SOAK_SEED repeats the requests of a run, VX_SOAK_REQUESTS asks more or fewer. A line on standard output gives the
// outcome.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "amt/amt-handle/service/registrations.h"
#include "tests/handset/app-phone.h"
#include "tests/soak/app-link.h"
#include "tests/soak/facts.h"
#include "tests/soak/pc-link.h"

using namespace std::chrono_literals;

namespace {

constexpr std::uint64_t DEFAULT_SEED = 1;
constexpr std::size_t WARM_UP = 2000;
constexpr std::size_t USUAL_REQUESTS = 50000;  // what the shares of jobs are about
// What one byte lost with each request would exceed, and a page lost with each of the rare ones (a dozen times or
// more). Room for a few pages all the same: how deep a stack was and how an allocator's arenas were filled is not the
// same after 2,000 requests as after 50,000. A sanitizer keeps what was freed, and looks for lost memory at the end.
#ifdef SOAK_HAS_SANITIZER
constexpr long MOST_GROWTH_KB = 1'000'000;
#else
constexpr long MOST_GROWTH_KB = 40;
#endif
constexpr std::chrono::seconds SETTLING_WAIT{20};

std::uint64_t number_from(const char* variable, std::uint64_t otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 0);
}

handset::phone_options soaked(handset::run_mode mode) {
  handset::phone_options options;
  options.mode = mode;
  options.log = handset::log_sink::discard;
  options.properties["ro.build.display.id"] = "VX5210-1.0";
  // Records that can break from the first request on.
  for (const char* record : {"/amt/vbatt", "/amt/power_usb_amt.txt", "/amt/usb_serial", "/amt/sn-2.txt",
                             "/amt/imei.txt", "/amt/amt_result.txt", "/amt/product.txt", "/amt/BT/BT_Address.txt"}) {
    options.files[record] = "0\n";
  }
  // A tenth of a second of sound: players are at their end soon.
  options.files["/system/media/amt-loop.pcm"] = std::string(8820, '\0');
  return options;
}

// Every job as often as its share asks for, in random order.
std::vector<const soak::job*> make_deck(const std::vector<soak::job>& jobs, soak::random_source& random,
                                        std::size_t count) {
  constexpr std::size_t LEAST = 2;
  std::vector<const soak::job*> deck;
  std::vector<const soak::job*> others;
  for (const soak::job& each : jobs) {
    others.insert(others.end(), each.of_50000 == 0 ? each.weight : 0, &each);
    if (each.of_50000 == 0) continue;
    deck.insert(deck.end(), std::max(LEAST, each.of_50000 * count / USUAL_REQUESTS), &each);
  }
  for (std::size_t next = 0; deck.size() < count; ++next) deck.push_back(others[next % others.size()]);
  random.shuffle(deck);
  return deck;
}

std::string last_of(const std::string& text) {
  constexpr std::size_t MOST = 300;
  return text.substr(text.size() - std::min(text.size(), MOST));
}

class Soak : public ::testing::Test {
 protected:
  template <typename Link>
  void soak_link(handset::phone& phone) {
    soak::faults broken(phone, m_random);
    Link link(phone, m_random, broken);
    const auto jobs = link.jobs();
    phone.simulated_modem().change_switches(
        [](handset::modem_switches& modem) { modem.patience = soak::USUAL_PATIENCE; });
    try {
      link.ask_every_row();
      run(make_deck(jobs, m_random, WARM_UP), link, broken);
      broken.heal();
      const auto before = settled_facts(phone, nullptr);
      const auto start = std::chrono::steady_clock::now();
      run(make_deck(jobs, m_random, m_requests), link, broken);
      report(std::chrono::steady_clock::now() - start, broken);
      broken.heal();
      link.ask_every_row();
      compare(before, settled_facts(phone, &before));
      link.switch_bluetooth_on();
    } catch (const std::exception& wrong) {
      FAIL() << "seed " << m_seed << ", " << m_where << ", broken: " << broken.show() << ", last block "
             << soak::show(link.last_block()) << ": " << wrong.what()
             << "\nthe service's last words: " << last_of(phone.out().text()) << "\nthe modem's: data "
             << soak::show(last_of(phone.simulated_modem().received(handset::modem_link::data).text())) << ", AT "
             << last_of(phone.simulated_modem().received(handset::modem_link::at).text());
    }
    phone.send_signal(SIGTERM);
    EXPECT_EQ(phone.wait_exit(), handset::exited(0));
  }

 private:
  void run(const std::vector<const soak::job*>& deck, soak::link&, soak::faults& broken) {
    for (std::size_t index = 0; index < deck.size(); ++index) {
      broken.step();
      m_where =
          "request " + std::to_string(index) + " of " + std::to_string(deck.size()) + " (" + deck[index]->name + ")";
      deck[index]->run();
    }
    m_where = "after the requests";
  }

  static bool has_player(const soak::facts& found) {
    return std::find(found.processes.begin(), found.processes.end(), "amt-audio") != found.processes.end();
  }

  // Players end by themselves; whatever else is on its way out may have a moment, too.
  static soak::facts settled_facts(handset::phone& phone, const soak::facts* before) {
    const auto deadline = std::chrono::steady_clock::now() + SETTLING_WAIT;
    for (;;) {
      soak::facts found = soak::facts_of(phone);
      const bool is_settled = before == nullptr
                                  ? found.children == 0 && !has_player(found)
                                  : found.descriptors == before->descriptors && found.processes == before->processes &&
                                        found.threads == before->threads && found.children == before->children;
      if (is_settled || std::chrono::steady_clock::now() > deadline) return found;
    }
  }

  void compare(const soak::facts& before, const soak::facts& after) const {
    const std::string what =
        "seed " + std::to_string(m_seed) + "\nbefore: " + soak::show(before) + "\nafter: " + soak::show(after);
    EXPECT_EQ(after.pid, before.pid) << what;
    EXPECT_EQ(after.descriptors, before.descriptors) << what;
    EXPECT_EQ(after.threads, before.threads) << what;
    EXPECT_EQ(after.processes, before.processes) << what;
    EXPECT_EQ(before.children, 0u) << what;
    EXPECT_EQ(after.children, 0u) << what;
    EXPECT_LE(after.memory_kb, before.memory_kb + MOST_GROWTH_KB) << what;
    std::printf("memory %ld kB before, %ld kB after; %zu descriptors, %zu threads\n", before.memory_kb, after.memory_kb,
                after.descriptors.size(), after.threads.size());
  }

  void report(std::chrono::steady_clock::duration time, const soak::faults& broken) const {
    std::printf("seed %llu: %zu requests in %.1f s, %zu changes of what is broken\n",
                static_cast<unsigned long long>(m_seed), m_requests, std::chrono::duration<double>(time).count(),
                broken.changes());
  }

  const std::uint64_t m_seed = number_from("VX_SOAK_SEED", DEFAULT_SEED);
  const std::size_t m_requests = number_from("VX_SOAK_REQUESTS", SOAK_REQUESTS);
  soak::random_source m_random{m_seed};
  std::string m_where = "before the requests";
};

TEST_F(Soak, PcLink_RequestsAndFaults_LeaveTheServiceAsItWas) {
  handset::phone phone(soaked(handset::run_mode::simplified));
  phone.start();
  ASSERT_TRUE(phone.out().wait_for("init over result=0"));
  soak_link<soak::pc_link>(phone);
}

TEST_F(Soak, AppLink_RequestsAndFaults_LeaveTheServiceAsItWas) {
  handset::phone phone(soaked(handset::run_mode::normal));
  phone.start();
  ASSERT_TRUE(phone.out().wait_for("init over result=0"));
  ASSERT_TRUE(phone.open_app());
  soak_link<soak::app_link>(phone);
}

// A request that is added later has to be soaked, too.
TEST(SoakRows, EveryRegistration_IsAskedOrEndsOrDoublesTheService) {
  std::map<std::uint8_t, std::vector<std::uint8_t>> asked = {{AMT_LINK_PC, {170, 236}}, {AMT_LINK_APP, {170, 195}}};
  for (const auto& row : soak::pc_rows()) asked[AMT_LINK_PC].push_back(row.id);
  for (const auto& row : soak::app_rows()) asked[AMT_LINK_APP].push_back(row.id);
  for (const auto& row : amt_handle_registrations()) {
    const auto& ids = asked[row.m_link];
    EXPECT_NE(std::find(ids.begin(), ids.end(), row.m_request_id), ids.end())
        << "link " << int{row.m_link} << ", request " << row.m_request_id;
  }
}

}  // namespace
