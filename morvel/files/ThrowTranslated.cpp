#include <morvel/files/ThrowTranslated.h>

#include <exception>

#include <Poco/Exception.h>

#include <morvel/base/NException.h>

// Derived classes stand above their base. A class without a row of its own takes that of its base:
// POCO's path-not-found becomes KelFileException.
void morvel::ThrowTranslated() {
    try {
        throw;
    } catch (const Poco::FileAccessDeniedException& e) {
        throw KelFileAccessDeniedException(e.message(), 0);
    } catch (const Poco::FileNotFoundException& e) {
        throw KelFileNotFoundException(e.message(), 0);
    } catch (const Poco::OpenFileException& e) {
        throw KelOpenFileException(e.message(), 0);
    } catch (const Poco::FileReadOnlyException& e) {
        throw KelFileReadOnlyException(e.message(), 0);
    } catch (const Poco::FileExistsException& e) {
        throw KelFileExistsException(e.message(), 0);
    } catch (const Poco::FileException& e) {
        throw KelFileException(e.message(), 0);
    } catch (const Poco::PathSyntaxException& e) {
        throw KelPathSyntaxException(e.message(), 0);
    } catch (const std::exception& e) {
        throw KelRuntimeException(e.what(), 0);
    } catch (...) {
        throw KelRuntimeException("Unkwnown exception", 0);
    }
}
