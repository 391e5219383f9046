#include "dhcp/dnsmasq_conf.h"

#include <cstdio>

#include "core/base/handles.h"
#include "core/base/log.h"
#include "dhcp/pool_arithmetic.h"

namespace {

constexpr const char *conf_path = "/etc/dnsmasq/conf/dynamic.conf";

// What dnsmasq's fixed configuration must say for the files of this daemon to work; only logged, for comparison.
constexpr const char *expected_settings = "no-negcache\n"
                                          "pid-file=/var/run/dnsmasq.vaperr.pid\n"
                                          "dhcp-authoritative\n"
                                          "dhcp-script=/opt/korvo/bin/confd_scripts/dns_notification.sh\n"
                                          "dhcp-optsfile=/tmp/dnsmasq.dhcp_opts\n"
                                          "dhcp-hostsfile=/tmp/dnsmasq.excl.dhcp_hosts\n"
                                          "dhcp-hostsfile=/tmp/dnsmasq.bind.dhcp_hosts\n"
                                          "dhcp-leasefile=/tmp/dnsmasq.leases\n\n";

void log_settings(const DnsmasqConf &conf)
{
    log_trace(LOG_DEBUG, "set_dnsmasq_conf", "%s", expected_settings);
    log_trace(LOG_DEBUG, "set_dnsmasq_conf", "%s", conf.range);
    log_trace(LOG_DEBUG, "set_dnsmasq_conf", "%s", conf.router);
    log_trace(LOG_DEBUG, "set_dnsmasq_conf", "%s", conf.dns_server);
}

} // namespace

char ipsec_tunnel_corp_dns[20];

DnsmasqConf render_dnsmasq_conf(const DhcpPoolConf &pool, const char *second_dns)
{
    DnsmasqConf conf{};
    snprintf(conf.range, sizeof conf.range, "dhcp-range=%s,%s,%s,%dm\n", dotted(pool.range.low).text,
             dotted(pool.range.high).text, dotted(pool.netmask).text, lease_minutes(pool));
    snprintf(conf.dns_server, sizeof conf.dns_server, "dhcp-option=option:dns-server,%s%s%.19s\n",
             dotted(pool.host).text, second_dns[0] == '\0' ? "" : ",", second_dns);
    snprintf(conf.router, sizeof conf.router, "dhcp-option=option:router,%s\n", dotted(pool.router).text);
    return conf;
}

void set_dnsmasq_conf(const DhcpPoolConf &pool)
{
    log_trace(LOG_ERR, "set_dnsmasq_conf", "opening dhcp conf file"); // not a fault; operators look for it
    File file(fopen(conf_path, "we"));
    if (!file) {
        log_trace(LOG_ERR, "set_dnsmasq_conf", "unable to open dhcp conf file");
        return;
    }
    const DnsmasqConf conf = render_dnsmasq_conf(pool, ipsec_tunnel_corp_dns);
    log_settings(conf);
    fprintf(file.get(), "%s%s%s", conf.range, conf.dns_server, conf.router);
    if (!close_written(file)) log_trace(LOG_ERR, "set_dnsmasq_conf", "unable to write dhcp conf file");
}
