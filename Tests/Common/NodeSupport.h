// Nodes that the tests of VKNode share: one that writes down what is done to it, and trees of named ones.
#pragma once

#include "ConfigSupport.h"
#include "VKNode.h"

#include <QStringList>

namespace Nodes {

using namespace Qt::StringLiterals;

/// A node that writes down what is done to it.
class WatchedNode : public VKNode {
public:
    WatchedNode(const QString& name, QStringList* calls) : mCalls(calls) {
        setClassID(name);
        setName(name);
    }
    ~WatchedNode() override { note(u"dies"_s); }

    void setParent(VKNode* parent) override {
        note(parent == nullptr ? u"setParent null"_s : u"setParent"_s);
        VKNode::setParent(parent);
    }
    void didAddToParent() override { note(u"didAdd %1 of %2"_s.arg(place()).arg(parent()->childCount())); }
    void willRemoveFromParent() override {
        note(u"willRemove "_s + (parent() != nullptr ? u"with"_s : u"without"_s));
    }
    void childChanged(VKNode* child) override {
        note(u"childChanged %1 enabled %2"_s.arg(child->classID()).arg(child->enabled()));
    }

private:
    [[nodiscard]] int place() { return parent()->indexOfNode(this); }
    void note(const QString& what) const { *mCalls << classID() + u": "_s + what; }

    QStringList* mCalls;
};

/// A node whose children are nodes of its own class.
class Branch : public VKNode {
public:
    Branch() {
        setTypeID(u"Branch"_s);
        setDefaultChildTypeID(u"Branch"_s);
        setSortByName(false);
    }
    using VKNode::setHasChildren;
};

inline Config::Owned<VKNode> named(const QString& name, int weight = 0) {
    Config::Owned<VKNode> node = Config::make<VKNode>();
    node->setClassID(name);
    node->setName(name);
    node->setWeight(weight);
    return node;
}

/// A parent that keeps the order of insertion, with a child for each letter.
inline Config::Owned<VKNode> parentOf(const QString& letters) {
    Config::Owned<VKNode> parent = Config::make<VKNode>();
    parent->setSortByName(false);
    for (const QChar letter : letters) {
        parent->insertNodeAtIndex(named(QString(letter)).get(), -1);
    }
    return parent;
}

inline QString lettersOf(VKNode& parent) {
    QString letters;
    for (int i = 0; i < parent.childCount(); ++i) {
        letters += parent.nodeAtIndex(i)->classID();
    }
    return letters;
}

} // namespace Nodes
