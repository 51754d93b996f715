// A resident host that checks orders as the real one does, carries nothing out, and remembers what it was asked.
#pragma once

#include "host/api/ApiService.h"
#include "host/resident/ResidentHost.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fuzzing {

class ScriptedResident final : public bmhost::ResidentHost {
public:
    /// How it answers what can be carried out.
    enum class Answers { Good, Failed, Refused, Odd, Nothing };

    ScriptedResident(std::shared_ptr<const bmhost::Picture> picture, Answers answers)
        : m_picture(std::move(picture)),
          m_answers(answers) {}

    std::shared_ptr<const bmhost::Picture> Now() const override { return m_picture; }
    bmhost::Statistics Counts() const override;
    void Ask(const bmhost::Asker& asker, bmhost::Call call, bmhost::Answered answered) override;
    void Ask(const bmhost::Asker& asker, bmhost::Order order, bmhost::Answered answered) override;
    /// Ids 5 to 8.
    std::vector<bmhost::News> NewsAfter(uint64_t id) const override;
    void OnNews(std::function<void()> /*listener*/) override {}
    std::vector<nlohmann::ordered_json> LogLines(std::size_t most) const override;

    /// Images stay in memory, the last one in m_image.
    bmhost::MakeUploadSink Images();

    std::vector<bmhost::Asker> m_askers; ///< of calls and orders
    std::vector<bmhost::Call> m_calls;
    std::vector<bmhost::Order> m_orders;
    std::string m_image;

private:
    void Answer(const std::string& name, const bmhost::Answered& answered) const;

    const std::shared_ptr<const bmhost::Picture> m_picture;
    const Answers m_answers;
};

/// What an image is called that such a host has.
constexpr const char* ImagePath = "/dev/null/image";

/// The pictures that targets use, from a usual blade to an odd one.
constexpr unsigned BladeCount = 5;
std::shared_ptr<const bmhost::Picture> BladeOf(unsigned number);

} // namespace fuzzing
