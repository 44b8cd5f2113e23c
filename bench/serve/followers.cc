// Follows stops and vehicles: so many connections to /events, each with one stop or one vehicle.
//
//   bench_serve_followers PORT CONNECTIONS STOPS VEHICLES SECONDS
//
// STOPS and VEHICLES are files with an identifier a line; connections take one after the other from
// the two in turn. Prints connections, those still open at the end, events and bytes.

#include <arpa/inet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<std::string> lines_of(const char* file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

int open_stream(std::uint16_t port, const std::string& query) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd);
    return -1;
  }
  const std::string request = "GET /events?" + query + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
  if (write(fd, request.data(), request.size()) != static_cast<ssize_t>(request.size())) {
    close(fd);
    return -1;
  }
  return fd;
}

std::uint64_t events_in(std::string_view text) {
  constexpr std::string_view mark = "\nevent: ";
  std::uint64_t events = 0;
  for (std::size_t at = text.find(mark); at != std::string_view::npos;
       at = text.find(mark, at + 1)) {
    ++events;
  }
  return events;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::cerr << "usage: bench_serve_followers PORT CONNECTIONS STOPS VEHICLES SECONDS\n";
    return 2;
  }
  const auto port = static_cast<std::uint16_t>(std::atoi(argv[1]));
  const auto wanted = static_cast<std::size_t>(std::atoi(argv[2]));
  const std::array<std::vector<std::string>, 2> names = {lines_of(argv[3]), lines_of(argv[4])};
  const std::array<std::string, 2> keys = {"stop=", "vehicle="};
  if (names[0].empty() || names[1].empty()) {
    std::cerr << "followers: no stops or no vehicles to follow\n";
    return 1;
  }
  const int epoll = epoll_create1(0);
  std::size_t open = 0;
  for (std::size_t i = 0; i < wanted; ++i) {
    const auto& of_kind = names[i % 2];
    const int fd = open_stream(port, keys[i % 2] + of_kind[(i / 2) % of_kind.size()]);
    if (fd < 0) continue;
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
    ++open;
  }
  const std::size_t begun = open;
  std::uint64_t bytes = 0;
  std::uint64_t events = 0;
  std::vector<char> buffer(1U << 16U);
  std::array<epoll_event, 256> ready{};
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[5]));
  while (std::chrono::steady_clock::now() < end) {
    const int count = epoll_wait(epoll, ready.data(), static_cast<int>(ready.size()), 200);
    for (int i = 0; i < count; ++i) {
      const int fd = ready[static_cast<std::size_t>(i)].data.fd;
      const ssize_t got = read(fd, buffer.data(), buffer.size());
      if (got <= 0) {
        close(fd);
        --open;
        continue;
      }
      bytes += static_cast<std::uint64_t>(got);
      events += events_in({buffer.data(), static_cast<std::size_t>(got)});
    }
  }
  std::cout << "{\"connections\": " << begun << ", \"open_at_end\": " << open
            << ", \"events\": " << events << ", \"bytes\": " << bytes << "}\n";
  return begun == wanted ? 0 : 1;
}
