// stand_in_manager FOLDER: takes the place of the user's service manager, at FOLDER/systemd/private. Appends each
// request to FOLDER/requests. Timers that are started wait until they are stopped. With a file FOLDER/fail, none can be
// armed, and with FOLDER/refuse, no unit may be started or stopped.

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-id128.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

fs::path folder;
std::mutex mutex;  // guards what follows
std::set<std::string> timers;

void record(const std::string& request) {
  std::ofstream(folder / "requests", std::ios::app) << request << '\n';
}

void list(sd_bus_message* call, const std::set<std::string>& units) {
  sd_bus_message* reply = nullptr;
  sd_bus_message_new_method_return(call, &reply);
  sd_bus_message_open_container(reply, 'a', "(ssssssouso)");
  for (const auto& unit : units) {
    const char* state = timers.contains(unit) ? "active" : "inactive";
    sd_bus_message_append(reply, "(ssssssouso)", unit.c_str(), "", "loaded", state, "", "", "/", 0, "", "/");
  }
  sd_bus_message_close_container(reply);
  sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
}

int handle(sd_bus_message* message, void* /*userdata*/, sd_bus_error* /*error*/) {
  const char* member = sd_bus_message_get_member(message);
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0 || member == nullptr) return 0;
  const std::lock_guard lock(mutex);
  const std::string method = member;
  const char* unit = nullptr;
  if (method == "ListUnitsByPatterns") {
    const char* state = nullptr;
    sd_bus_message_read(message, "asas", 1, &state, 1, &unit);
    record(method + " " + state + " " + unit);
    list(message, timers);
  } else if (method == "ListUnitsByNames") {
    sd_bus_message_enter_container(message, 'a', "s");
    sd_bus_message_read(message, "s", &unit);
    list(message, {unit});
  } else if (method == "StartUnit" || method == "StopUnit") {
    const char* mode = nullptr;
    sd_bus_message_read(message, "ss", &unit, &mode);
    record(method + " " + unit + " " + mode);
    if (fs::exists(folder / "refuse")) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "Not %s", unit);
    if (method == "StopUnit") timers.erase(unit);
    if (method == "StartUnit" && !fs::exists(folder / "fail")) timers.insert(unit);
    sd_bus_reply_method_return(message, "o", "/job/1");
  } else {
    return 0;
  }
  return 1;
}

void serve(int connection) {
  sd_bus* bus = nullptr;
  sd_bus_new(&bus);
  sd_bus_set_fd(bus, connection, connection);
  sd_bus_set_server(bus, 1, sd_id128_t{});
  sd_bus_start(bus);
  sd_bus_add_filter(bus, nullptr, handle, nullptr);
  for (;;) {
    const int result = sd_bus_process(bus, nullptr);
    if (result < 0 || (result == 0 && sd_bus_wait(bus, UINT64_MAX) < 0)) break;
  }
  sd_bus_flush_close_unref(bus);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  folder = arguments[1];
  const auto path = folder / "systemd/private";
  fs::create_directories(path.parent_path());
  const auto unfinished = fs::path(path) += "~";
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  unfinished.string().copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) return 1;
  ::listen(listener, 10);
  fs::rename(unfinished, path);  // once it is there, it accepts connections
  for (;;) {
    const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection >= 0) std::thread(serve, connection).detach();
  }
}
