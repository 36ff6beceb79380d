#pragma once

namespace pexi::AnalyticsConfig {

// Where usage events go: the app-events interface of the collection service, at the API version
// the event format below was written for. PEXI_ANALYTICS_BASE replaces it (test servers, staging).
inline constexpr char endpointBase[] = "https://graph.facebook.com/v2.10/";
inline constexpr char endpointBaseVariable[] = "PEXI_ANALYTICS_BASE";

// The id the collection service assigned to this deployment of the worker.
inline constexpr char applicationId[] = "1529068413370152";

// Sent with every event; the dashboards group by it, so it only changes with the event format.
inline constexpr char appVersion[] = "1.0.17b";
inline constexpr char customerType[] = "MacDesktop";

} // namespace pexi::AnalyticsConfig
