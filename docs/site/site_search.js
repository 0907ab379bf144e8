// SPDX-License-Identifier: MIT
// Changes the search in two ways: queries may be result codes and keys, and the site may be opened
// as files.

// In the language of queries "-1007" means "without 1007", and "core.log.file" is one word. The index
// has the parts of both as words.
function wordsOf(query) {
    return query.replace(/[^\p{L}\p{N}_*]+/gu, " ").trim();
}

class WordWorker extends Worker {
    postMessage(message) {
        super.postMessage(message.query ? { query: wordsOf(message.query) } : message);
    }
}

// For files, a browser neither starts the worker of the search nor lets it read the index, so this
// class takes its place. It reads the same index from a script.
class FileWorker {
    postMessage(message) {
        if (message.init) {
            this.load(["search/lunr.js", "search/search_index.js"]);
        } else {
            this.answer({ results: this.find(wordsOf(message.query)) });
        }
    }

    answer(data) {
        this.onmessage({ data });
    }

    // Loads scripts one after another, because the index needs the library.
    load([first, ...others]) {
        const script = document.createElement("script");
        script.src = `${base_url}/${first}`;
        script.onload = () => (others.length ? this.load(others) : this.ready());
        document.head.append(script);
    }

    ready() {
        this.answer({ config: siteSearch.config });
        this.answer({ allowSearch: true });
    }

    // Indexing takes about a second, so it waits for the first search.
    index() {
        lunr.tokenizer.separator = new RegExp(siteSearch.config.separator);
        return lunr(function () {
            this.field("title");
            this.field("text");
            this.ref("location");
            siteSearch.docs.forEach((page) => this.add(page));
        });
    }

    find(query) {
        this.pages ||= new Map(siteSearch.docs.map((page) => [page.location, page]));
        this.known ||= this.index();
        return this.known.search(query).map(({ ref }) => {
            const page = this.pages.get(ref);
            return { ...page, summary: page.text.substring(0, 200) };
        });
    }
}

window.Worker = location.protocol === "file:" ? FileWorker : WordWorker;
