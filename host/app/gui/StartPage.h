#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QWidget>

#include <morvalinlib/AlgorithmFactory.h>

namespace Morvalin::App {

/// What the window shows before there is a stream: a button for each algorithm.
class StartPage : public QWidget {
    Q_OBJECT

public:
    StartPage(const std::vector<AlgorithmFactory::Descriptor>& algorithms,
              const std::function<void(const std::string& id)>& choose, QWidget* parent = nullptr);
};

} // namespace Morvalin::App
