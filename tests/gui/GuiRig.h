#pragma once

#include <morvalingui/QtHelpers.h>
#include <morvalinlib/StreamIoAlgorithm.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Morvalin {

/// Processes events until the condition holds; the limit only guards against a hang.
template <class Condition>
bool waitUntil(const Condition& condition) {
    return QTest::qWaitFor(condition, 60'000);
}

/// The button with that text at this moment; null when there is none.
inline QPushButton* buttonWith(const QWidget& parent, const char* text) {
    for (QPushButton* button : parent.findChildren<QPushButton*>())
        if (button->text() == text)
            return button;
    return nullptr;
}

/// Calls the function with the modal dialog of that type as soon as one is shown.
template <class Dialog>
void whenModal(const std::function<void(Dialog&)>& function) {
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer, function] {
        if (auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget())) {
            timer->deleteLater();
            timer->stop();
            function(*dialog);
        }
    });
    timer->start(0);
}

/// Answers file dialogs one after another, and keeps what they were asked.
class FileAnswers {
public:
    explicit FileAnswers(QStringList texts) : answers(std::move(texts)) {
        before = QtHelpers::setOpenFilenameHook([this](const auto& request) {
            requests.push_back(request);
            return answers.takeFirst();
        });
    }
    ~FileAnswers() { QtHelpers::setOpenFilenameHook(before); }

    QStringList answers;
    std::vector<QtHelpers::OpenFilenameRequest> requests;

private:
    QtHelpers::OpenFilenameHook before;
};

/// An algorithm around a stream that the test owns.
class HeldStream : public StreamIoAlgorithm {
public:
    explicit HeldStream(Stream* held) {
        streamPointer = held;
        setStreamOwnershipTransferred();
    }
    void compute() override {}
};

} // namespace Morvalin
