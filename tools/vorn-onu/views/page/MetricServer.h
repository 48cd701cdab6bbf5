// The metrics of a board over HTTP, without its page: GET /metrics.
#ifndef VORN_ONU_METRIC_SERVER_H
#define VORN_ONU_METRIC_SERVER_H

#include <memory>
#include <string>

#include "living/LiveBoard.h"

namespace vorn_onu::page {

// What is wrong with a place as --metrics takes it, "PORT" or "ADDRESS:PORT" (IPv4); "" where nothing is.
std::string problemOfMetricPlace(const std::string& place);

class MetricServer {
public:
    // From now on on threads that take no signals. place: a port of 127.0.0.1 (0: any that is free), or with an address
    // of this machine in front. The board lives longer than the server. Throws std::runtime_error where it cannot
    // listen.
    MetricServer(const std::string& place, living::LiveBoard& board);
    ~MetricServer();
    MetricServer(const MetricServer&) = delete;
    MetricServer& operator=(const MetricServer&) = delete;
    std::string link() const;  // "http://127.0.0.1:9464/metrics"

private:
    class Site;
    std::unique_ptr<Site> site_;
};

}  // namespace vorn_onu::page

#endif
