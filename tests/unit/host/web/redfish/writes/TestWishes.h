// What requests come to, in a form that tests compare.
#pragma once

#include "host/web/redfish/TestBlades.h"
#include "host/web/redfish/writes/Writing.h"

#include <gtest/gtest.h>

#include <string>

inline bmhost::Wish WishAt(const bmhost::Picture& picture, const std::string& method, const std::string& path,
                           const std::string& body = "") {
    const ShownBlade blade(picture);
    bmhost::RedfishRequest request{method, path};
    request.m_body = body;
    return bmhost::WishOf(blade.m_facts, request);
}

/// "led-set {…}"; of an answer its status and messages.
inline std::string TextOfWish(const bmhost::Wish& wish) {
    if (const auto* const order = std::get_if<bmhost::OrderWish>(&wish))
        return order->m_order.m_name + " " + order->m_order.m_values.dump();
    if (const auto* const answer = std::get_if<bmhost::RedfishAnswer>(&wish)) {
        std::string text = std::to_string(answer->m_status);
        for (const std::string& message : MessagesOf(*answer))
            text += " " + message;
        return text;
    }
    if (const auto* const login = std::get_if<bmhost::LoginWish>(&wish))
        return "login " + login->m_account + " " + login->m_password;
    if (const auto* const logout = std::get_if<bmhost::LogoutWish>(&wish)) return "logout " + logout->m_session;
    if (const auto* const end = std::get_if<bmhost::StreamEndWish>(&wish)) return "end " + end->m_subscription;
    if (const auto* const test = std::get_if<bmhost::TestEventWish>(&wish)) return "test " + test->m_record.dump();
    return "upload";
}

inline const bmhost::OrderWish& OrderOfWish(const bmhost::Wish& wish) {
    return std::get<bmhost::OrderWish>(wish);
}
