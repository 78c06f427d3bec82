#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class VexoServicePlugin;

/// One plug-in that is loaded and not yet initialized, or in use.
struct LoadedPlugin
{
    QString name; ///< the file's name without "lib" and ending
    QString file; ///< absolute
    std::unique_ptr<QObject> instance;
    VexoServicePlugin *plugin; ///< the same object
};

/// Owns the plug-ins in load order and destroys them in reverse. Libraries stay mapped.
class PluginSet final
{
public:
    PluginSet() = default;
    PluginSet(PluginSet &&) = default;
    PluginSet &operator=(PluginSet &&other) noexcept
    {
        clear();
        m_plugins.swap(other.m_plugins);
        return *this;
    }
    PluginSet(const PluginSet &) = delete;
    PluginSet &operator=(const PluginSet &) = delete;
    ~PluginSet() { clear(); }

    void add(LoadedPlugin &&plugin) { m_plugins.push_back(std::move(plugin)); }
    void clear()
    {
        while (!m_plugins.empty())
            m_plugins.pop_back();
    }

    [[nodiscard]] const std::vector<LoadedPlugin> &all() const { return m_plugins; }

private:
    std::vector<LoadedPlugin> m_plugins;
};
