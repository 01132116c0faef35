#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QWidget>

#include <morvalinlib/AlgorithmFactory.h>

class QLabel;

namespace Morvalin::App {

class Workbench;

/// What the window shows before there is a stream: a button for each algorithm.
class StartPage : public QWidget {
    Q_OBJECT

public:
    StartPage(const std::vector<AlgorithmFactory::Descriptor>& algorithms,
              const std::function<void(const std::string& id)>& choose, QWidget* parent = nullptr);
};

/// What the window shows while it waits for streams to close: each of them and what it is doing.
class ClosingPage : public QWidget {
    Q_OBJECT

public:
    explicit ClosingPage(QWidget* parent = nullptr);

    void refresh(const Workbench& workbench);
    QString text() const;

private:
    QLabel* const list;
};

} // namespace Morvalin::App
