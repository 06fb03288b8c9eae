#pragma once

#include <QString>

#include <functional>
#include <memory>

class BenchFolder;
class Site;
struct BenchSettings;
struct Scenario;

/// Throws BadInput when the site cannot be made.
using SiteMaker =
    std::function<std::unique_ptr<Site>(const BenchSettings&, const Scenario&, const BenchFolder&)>;

/// A root of the station's own on this machine, with simulated devices.
std::unique_ptr<Site> makePrivateRoot(const BenchSettings& settings, const Scenario& scenario,
                                      const BenchFolder& folder);

/// How a bench is set up.
struct BenchSettings
{
    QString station_program;
    QString kept_folder; ///< empty: a temporary one
    quint64 seed = 1;
    bool echo_log = false;
    SiteMaker make_site = makePrivateRoot;
};
