// What a word of a line may become, out of the registrations.
#include "host/words/Completion.h"

#include <algorithm>
#include <sstream>

namespace bmhost {

namespace {

using Words = std::vector<std::string>;

// Where a line has come to.
struct Position {
    const Command* m_command = nullptr;
    Words m_words;                                 // of the command's own
    const Command::KnownOption* m_value = nullptr; // the option whose value comes next
};

const Command::KnownOption* OptionAt(const Commands& commands, const Position& position, const std::string& word) {
    const Command::KnownOption* const own = position.m_command->FindOption(word);
    return own != nullptr ? own : commands.Root().FindOption(word);
}

Position PositionAfter(const Commands& commands, const Words& earlier) {
    Position position{&commands.Root(), {}, nullptr};
    for (const std::string& word : earlier) {
        if (position.m_value != nullptr) {
            position.m_value = nullptr;
            continue;
        }
        const Command::KnownOption* const option = OptionAt(commands, position, word);
        if (option != nullptr) {
            if (!option->m_value.empty() && word.find('=') == std::string::npos) position.m_value = option;
            continue;
        }
        const Command* const member = position.m_words.empty() ? position.m_command->Find(word) : nullptr;
        if (member != nullptr) {
            position.m_command = member;
        } else {
            position.m_words.push_back(word);
        }
    }
    return position;
}

void Offer(const Choices& choices, const Words& earlier, Completion& completion) {
    const Words words = choices.m_after ? choices.m_after(earlier) : choices.m_words;
    completion.m_words.insert(completion.m_words.end(), words.begin(), words.end());
    if (choices.m_kind != Choices::Kind::Words) completion.m_kind = choices.m_kind;
}

void OfferOptions(const Command& command, Completion& completion) {
    for (const Command::KnownOption& option : command.Options())
        completion.m_words.push_back(option.m_name);
}

} // namespace

Completion Complete(const Commands& commands, const Words& earlier, const std::string& begun) {
    const Position position = PositionAfter(commands, earlier);
    const Command& command = *position.m_command;
    const bool isRoot = &command == &commands.Root();
    Completion completion;
    if (position.m_value != nullptr) {
        Offer(position.m_value->m_choices, position.m_words, completion);
    } else {
        Offer(command.ChoicesOf(position.m_words.size()), position.m_words, completion);
        if (position.m_words.empty()) {
            for (const auto& member : command.Members())
                completion.m_words.push_back(member->Name());
        }
        // After a command, options that all take are offered only where one is begun.
        OfferOptions(command, completion);
        if (!isRoot && begun.starts_with('-')) OfferOptions(commands.Root(), completion);
    }
    Words& words = completion.m_words;
    std::erase_if(words, [&](const std::string& word) { return !word.starts_with(begun); });
    std::sort(words.begin(), words.end());
    if (!words.empty()) completion.m_kind = Choices::Kind::Words;
    return completion;
}

Words CompleteText(const Commands& commands, const std::string& text) {
    const std::size_t begin = text.find_last_of(" \t") + 1;
    std::istringstream stream(text.substr(0, begin));
    Words earlier;
    for (std::string word; stream >> word;)
        earlier.push_back(word);
    return Complete(commands, earlier, text.substr(begin)).m_words;
}

} // namespace bmhost
