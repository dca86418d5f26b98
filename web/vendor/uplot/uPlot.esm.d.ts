// The package declares its types for the CommonJS build; the page bundles the ES module.
import uPlot = require("./uPlot");
export default uPlot;
